// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/languages.h"

namespace corvexal {
namespace {

constexpr Language kLanguages[] = {
    // English
    {Family::kWestern, 0, u"etaoinshrdlcumwfgypbvkjxqzéñïöçüèêóáàíâ"},
    // German
    {Family::kWestern, 0, u"enisratdhulcgmobwfkzvüpäßöjyxqéèàç"},
    // French
    {Family::kWestern, 0, u"esaitnrulodcmpévqfbghàjèxêyzçôùâûîœïëkwüæ"},
    // Spanish
    {Family::kWestern, 0, u"eaosrnidlctumpbgvyqóíhfzjéáñxúüwkªº"},
    // Portuguese
    {Family::kWestern, 0, u"aeosrindmutclpvgqbfhãzáéçíxjóõêàúâôkwyºª"},
    // Italian
    {Family::kWestern, 0, u"eaionlrtscdupmvghfbqzòàùèéìjkwxyî"},
    // Dutch
    {Family::kWestern, 0, u"enatirodslghvkmubpwjczfxyqëéïöüèáóçê"},
    // Swedish
    {Family::kWestern, 0, u"eanrtsildomkgväfhupåöbcjyxwzéqàü"},
    // Danish
    {Family::kWestern, 0, u"enrdtaisolgmkfvubhpåøyæjcwzxqéüö"},
    // Norwegian
    {Family::kWestern, 0, u"enrtsaildokgmvfupbhøjyåæcwzxqéòôóü"},
    // Finnish
    {Family::kWestern, 0, u"aintesloukämvrjhypdögbfcwåqxzšž"},
    // Icelandic
    {Family::kWestern, 2, u"arniesutðglmkfhvoáþíjdóbæyöúpéýcxwqz"},
    // Faroese
    {Family::kWestern, 5, u"aritnuegsðlmokvdfháíøbyæóúpýjcxwqz"},
    // Catalan
    {Family::kWestern, 1, u"eaisrlntoucdmpvgbqfhàéxóíèjyzòçúïüwk·"},
    // Estonian
    {Family::kWestern, 2, u"aeistlunodkmrvjhgpäõüböfcšžxywqz"},
    // Albanian
    {Family::kWestern, 6, u"eëtinarshukomdpjlvzgbyfqcçxw"},
    // Irish
    {Family::kWestern, 3, u"aihnersdctolgumbféáíóúpvjkqwxyz"},
    // Polish
    {Family::kCentral, 0, u"aieoznrwcysdktmpłuljęgąbhżóśćfńźvqx"},
    // Czech
    {Family::kCentral, 0, u"oeantilvsrdkpmuíázjyéhěřcčbžýšůfgúxťňóďwqö"},
    // Slovak
    {Family::kCentral, 0, u"aoeinstrvlkdmcpuájhzýbyčížéťúšľôňfgäďŕĺóxwqöř"},
    // Hungarian
    {Family::kCentral, 0, u"eatlnskzoriáégmybvdhujöfpcóőíüúűxwq"},
    // Romanian
    {Family::kCentral, 0, u"eiarntulcsodpmăşţfîvgbâzhjxkyqw"},
    // Croatian
    {Family::kCentral, 0, u"aioenjrsutdkmlvpgzbčhšžcćđfyxwq"},
    // Slovene
    {Family::kCentral, 0, u"aeionlrsjtvkdmpuzbghčšcžfćđxywq"},
    // Lithuanian
    {Family::kBaltic, 0, u"iastorenukmlpvdjgėbyųšžcząįūčęfhxwq"},
    // Latvian
    {Family::kBaltic, 0, u"aisetrunkmodlpāvzgjībēcšūķļņžčģfhxywqōŗ"},
    // Estonian
    {Family::kBaltic, 2, u"aeistlunodkmrvjhgpäõüböfcšžxywqz"},
    // Turkish
    {Family::kTurkish, 0, u"aeinrlıkdtmysuobüşzgçhğvcöpfjâîûwxq"},
    // Vietnamese
    {Family::kVietnamese, 0, u"nhticgaumô\u0301\u0300ođ\u0323ươêylărsbvp\u0309â\u0303áàkíóúùéèdqexwfzj"},
    // Russian
    {Family::kCyrillic, 0, u"оеаинтсрвлкмдпуяыьгзбчйхжшюцщэфъё"},
    // Ukrainian
    {Family::kCyrillic, 0, u"оанивітеркслмдупязьбгчйхїєцжюшщфґ"},
    // Bulgarian
    {Family::kCyrillic, 0, u"аиоентсрвлдкпмзяубъгчцйхжщшюфь"},
    // Serbian
    {Family::kCyrillic, 0, u"аиоенрсјутдкмлвпгзбчхшжљцњћђфџ"},
    // Belarusian
    {Family::kCyrillic, 1, u"аінеырслткдоупўмвбяьгчзшжцйхюфэё"},
    // Macedonian
    {Family::kCyrillic, 2, u"аоеитнрсвдкмлпујзгбчцшќжѓфхљњџѕ"},
    // Greek
    {Family::kGreek, 0, u"αοιετσνηυρπκμλςωάίδγέόθήύφχβώζξψϊΐϋΰ"},
    // Hebrew
    {Family::kHebrew, 0,
     u"\u05D9\u05D5\u05D4\u05DC\u05D0\u05EA\u05E8\u05DE\u05D1\u05E9\u05E0\u05D3\u05D7\u05E2\u05DD"
     u"\u05E7\u05E4\u05DB\u05D2\u05D8\u05DF\u05E1\u05D6\u05E5\u05DA\u05E3\u05E6"},
    // Arabic
    {Family::kArabic, 0,
     u"\u0627\u0644\u064A\u0645\u0646\u0631\u062A\u0648\u0628\u062F\u0633\u0639\u0647\u0641\u0629"
     u"\u0643\u0642\u062D\u0623\u062C\u0634\u0635\u0649\u062E\u0637\u0630\u062B\u0636\u0625\u0632"
     u"\u0621\u063A\u0626\u0638\u0622\u0624\u064B\u0651\u064E\u064F\u0650"},
    // Persian
    {Family::kArabic, 1,
     u"\u0627\u064A\u0646\u0631\u062F\u0647\u0645\u062A\u0648\u0628\u0633\u0634\u06A9\u0643\u0632"
     u"\u0644\u0639\u0641\u06AF\u062E\u062D\u0642\u062C\u067E\u063A\u0686\u0637\u0635\u0622\u0630"
     u"\u0636\u0626\u062B\u0698\u0638"},
    // Thai
    {Family::kThai, 0,
     u"านร\u0E48กอเง\u0E49มวยล\u0E31\u0E35สตดทป\u0E34คบห\u0E4Cแ\u0E37\u0E38จพ\u0E39"
     u"\u0E47ำโชขใไะถผธซศณฟภฝษญฐฉฤฎฏฒฑฬฮๆ"},
};

}  // namespace

std::span<const Language> languages() {
  return kLanguages;
}

}  // namespace corvexal
