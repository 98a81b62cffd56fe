# SPDX-License-Identifier: GPL-3.0-or-later
# bash completion for the programs of Corvexal
_corvexal() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} switches=
  case ${COMP_WORDS[0]##*/} in
    Corvexal)
      case $COMP_CWORD in
        1) switches='-C -D -DD -R -S --help --version' ;;
        2) switches='-M -I' ;;
      esac ;;
    corvexal-sync)
      switches='--dry-run --even-if-empty --thorough --accept-refused --shallow --entries --leave --rename --quiet --verbose --json --help --version' ;;
    corvexal-report) switches='--json --html --help --version' ;;
    corvexal-watch)
      switches='--source --quiet-time --full-sync-every --help --version'
      if [ "$before" = --source ]; then
        mapfile -t COMPREPLY < <(compgen -W 'fanotify inotify' -- "$word")
        return
      fi ;;
    *) switches='--help --version' ;;
  esac
  case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$switches" -- "$word") ;;
    *) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  esac
}
complete -F _corvexal Corvexal corvexal-mkcatalogue corvexal-songs corvexal-report corvexal-sync corvexal-watch \
  detect_char_encode
