// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_library.h"

#include <dlfcn.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <stdexcept>

namespace corvexal {
namespace {

// Absolute, without links; empty when the system does not tell where the program lies. Where /proc is not
// mounted, the name by which the program was started says it.
std::string module_path() {
  char program[PATH_MAX];
  const auto* const name =
      reinterpret_cast<const char*>(getauxval(AT_EXECFN));  // NOLINT(performance-no-int-to-ptr)
  if (realpath("/proc/self/exe", program) == nullptr &&
      (name == nullptr || realpath(name, program) == nullptr))
    return "";
  const std::string path = program;
  return path.substr(0, path.rfind('/')) + "/../lib/corvexal/standard_tags.so";
}

// Looking for its symbols among its own libraries first takes a third off. Sanitizers must be found before.
constexpr int kMode = RTLD_NOW | RTLD_LOCAL | (CORVEXAL_SANITIZE ? 0 : RTLD_DEEPBIND);

const TagLibrary& load() {
  const std::string path = module_path();
  void* const module = path.empty() ? nullptr : dlopen(path.c_str(), kMode);
  const void* const library = module == nullptr ? nullptr : dlsym(module, kTagLibrary);
  if (library == nullptr) {
    const char* const error = path.empty() ? nullptr : dlerror();
    throw std::runtime_error("tags=standard: " +
                             std::string(error == nullptr ? "nothing tells where the program lies" : error));
  }
  return *static_cast<const TagLibrary*>(library);
}

}  // namespace

bool has_tag_library() {
  return access(module_path().c_str(), R_OK) == 0;
}

const TagLibrary& tag_library() {
  static const TagLibrary& library = load();
  return library;
}

}  // namespace corvexal
