# Installs the Debian packages that a script needs; sourced by ./check and others.
# shellcheck shell=bash

# packages_install 'PACKAGE  what for'...
# Says which of them are missing and what for, then installs those; ends the script where that cannot be done.
packages_install() {
  local line missing=()
  if ! command -v dpkg-query >/dev/null; then
    echo "This is no Debian machine, so nothing is installed. What has to be there, by its Debian name:"
    printf '  %s\n' "$@"
    return
  fi
  for line in "$@"; do
    packages_is_installed "${line%% *}" || missing+=("$line")
  done
  if [[ ${#missing[@]} -gt 0 ]]; then
    echo "Missing, and now installed from Debian's packages:"
    printf '  %s\n' "${missing[@]}"
    packages_run_apt "${missing[@]%% *}"
  fi
}

packages_is_installed() {
  [[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

packages_run_apt() {
  local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q)
  if [[ $EUID -ne 0 ]]; then
    packages_require_sudo "$@"
    apt=(sudo "${apt[@]}")
  fi
  mkdir -p build
  if ! { "${apt[@]}" update && "${apt[@]}" install -y --no-install-recommends "$@"; } >build/packages.log 2>&1 </dev/null
  then
    tail -n 20 build/packages.log
    echo "The packages could not be installed (see above). As root:"
    echo "  apt-get update && apt-get install $*"
    exit 1
  fi
}

# Asks for the password here, where the user can answer, and not in the middle of an installation.
packages_require_sudo() {
  local ask=()
  [[ -t 0 ]] || ask=(-n)
  if ! command -v sudo >/dev/null || ! sudo "${ask[@]}" -v; then
    echo "Installing them takes root's rights, and sudo does not give them here. Run as root:"
    echo "  apt-get update && apt-get install $*"
    exit 1
  fi
}
