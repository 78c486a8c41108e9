# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What `run`, `test` and `.ci/run` have in common: the packages, the configuration, the
# build. Sourced by them with `root` set to the project's directory; says what it does on
# standard error, and nothing when there is nothing to do.

base_packages="g++ cmake ninja-build libcli11-dev libyaml-dev nlohmann-json3-dev
   libevent-dev libsqlite3-dev libmnl-dev libfmt-dev libgtest-dev libgmock-dev librapidcheck-dev pkg-config"

say() {
   printf '%s: %s\n' "${0##*/}" "$*" >&2
}

die() {
   say "$@"
   exit 1
}

# Prints those of the packages that are not installed.
missing_packages() {
   local package
   for package; do
      [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
         printf '%s ' "$package"
   done
}

as_root() {
   if [ "$(id -u)" = 0 ]; then
      "$@"
   else
      sudo "$@"
   fi
}

# Installs what is missing of the packages; touches neither apt nor the network when
# nothing is.
install_packages() {
   command -v dpkg-query >/dev/null ||
      die "only Debian's packages are known here; install the like of:" $base_packages
   local missing
   missing=$(missing_packages "$@")
   [ -n "$missing" ] || return 0
   [ "$(id -u)" = 0 ] || command -v sudo >/dev/null ||
      die "these packages are missing and only root or sudo can install them: $missing"
   say "installing $missing"
   quietly as_root apt-get update
   quietly as_root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends $missing
}

# Runs a command and shows what it printed only if it fails, which ends the script.
quietly() {
   local log status=0
   log=$(mktemp)
   "$@" >"$log" 2>&1 </dev/null || status=$?
   [ "$status" = 0 ] || cat "$log" >&2
   rm -f "$log"
   [ "$status" = 0 ] || die "failed: $*"
}

# Configures unless it has been done for this very place and with these very presets, which
# CMake reads no more once it has a cache.
configure() {
   local preset=$1 directory=$2 presets=$2/presets.json
   if [ -f "$directory/build.ninja" ] &&
      cmp -s "$root/CMakePresets.json" "$presets" &&
      grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$directory/CMakeCache.txt"; then
      return 0
   fi
   say "configuring ${directory##*/}"
   rm -f "$presets"
   quietly env -C "$root" cmake --fresh --preset "$preset"
   cp "$root/CMakePresets.json" "$presets"
}

# Counts the steps that the build prints: one line that says so, if there is any step,
# and the count in place on a terminal. Looking for new files is not a step.
show_progress() {
   local step what started=
   while read -r step what; do
      [[ $step == \[*/*\] && $what != Re-checking* ]] || continue
      [ -n "$started" ] || say "building"
      started=yes
      [ ! -t 2 ] || printf '\r%s ' "$step" >&2
   done
   [ -z "$started" ] || [ ! -t 2 ] || printf '\r\033[K' >&2
}

compile() {
   local directory=$1 target=$2 log=$1/build.log
   cmake --build "$directory" --target "$target" --parallel "$(nproc)" 2>&1 </dev/null |
      tee "$log" | show_progress
   [ "${PIPESTATUS[0]}" = 0 ] && return 0
   cat "$log" >&2
   die "the build failed"
}

# Ends the script unless the target was built from the files as they are. For a directory
# that cannot be written: there even a build with nothing to do would fail.
require_built() {
   local directory=$1 stamp=$1/$2.built newer
   [ ! "$directory/all.built" -nt "$stamp" ] || stamp=$directory/all.built
   [ -f "$stamp" ] || die "$2 is not built, and ${directory##*/} cannot be written"
   newer=$(find "$root" \( -name .git -o -path "$root/build*" \) -prune -o \
      -type f -newer "$stamp" -print -quit)
   [ -z "$newer" ] ||
      die "${newer#"$root/"} is newer than the build, and ${directory##*/} cannot be written"
}

# build PRESET DIRECTORY TARGET: configures if need be and brings the target up to date.
build() {
   local directory=$root/$2 stamp=$root/$2/$3.built
   if [ -d "$directory" ] && [ ! -w "$directory" ]; then
      require_built "$directory" "$3"
      return
   fi
   mkdir -p "$directory"
   (
      flock 9
      configure "$1" "$directory"
      # What changes meanwhile is newer.
      touch "$stamp.new"
      compile "$directory" "$3"
      mv "$stamp.new" "$stamp"
   ) 9>"$directory/.lock" || exit 1
}
