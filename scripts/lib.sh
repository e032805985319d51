# shellcheck shell=bash
# Sourced by the scripts beside it: where the repository is, messages, and installing what is missing.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '==> %s\n' "$*" >&2; }

die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# listed_packages SECTION...: the packages of these sections of packages.txt, one a line.
listed_packages() {
  awk -v wanted=" $* " '
    match($0, /^# \[[a-z]+\]$/) { section = substr($0, 4, length($0) - 4); next }
    /^#/ || NF == 0 { next }
    index(wanted, " " section " ") { print $1 }
  ' "$root/scripts/packages.txt"
}

# setup SECTION...: installs the packages of these sections that are missing; does nothing when all are there.
setup() {
  command -v dpkg-query >/dev/null || die "this script needs a Debian system; packages: scripts/packages.txt"
  local -a wanted missing=() apt=(apt-get)
  mapfile -t wanted < <(listed_packages "$@")
  ((${#wanted[@]} > 0)) || die "no packages listed for: $*"

  local installed package
  # dpkg-query fails when it does not know one of them; what it does know is printed all the same.
  installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null || true)
  for package in "${wanted[@]}"; do
    grep -qxF "$package installed" <<<"$installed" || missing+=("$package")
  done
  ((${#missing[@]} > 0)) || return 0

  if ((EUID != 0)); then
    command -v sudo >/dev/null || die "missing packages, and no sudo to install them: ${missing[*]}"
    apt=(sudo apt-get)
  fi
  say "Installing ${missing[*]}"
  "${apt[@]}" -qq update || die "apt-get update failed"
  "${apt[@]}" -qq -y -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 --no-install-recommends install \
    "${missing[@]}" >&2 </dev/null || die "could not install: ${missing[*]}"
}

# configure PRESET [ARGS]: configures build/PRESET, quiet unless it fails.
configure() {
  local preset=$1 log
  shift
  mkdir -p "$root/build"
  log=$root/build/configure-$preset.log
  if ! (cd "$root" && cmake --preset "$preset" "$@") >"$log" 2>&1; then
    cat "$log" >&2
    return 1
  fi
}

# build PRESET [ARGS]: builds it; progress on a terminal, the compilers' words otherwise only when it fails.
build() {
  local preset=$1 log
  shift
  log=$root/build/build-$preset.log
  if [[ -t 2 ]]; then
    (cd "$root" && cmake --build --preset "$preset" "$@") >&2
  elif ! (cd "$root" && cmake --build --preset "$preset" "$@") >"$log" 2>&1; then
    # Ninja prints every finished step: keep what explains the failure.
    sed -E '/^\[[0-9]+\/[0-9]+\] (Building|Linking|Creating|Automatic|Generating|Re-checking)/d' "$log" | sed -n 1,300p >&2
    say "All of it: $log"
    return 1
  fi
}
