#!/usr/bin/env bash
# Prints the environment of an OpenGL driver with bindless textures, for a shell to eval:
#
#   eval "$(tools/bindless-driver.sh)"
#
# The driver is Mesa's zink over lavapipe, software all of it, of the backports suite of the machine's own Debian
# release. It is fetched once and unpacked into a cache folder, beside the system's Mesa, which stays as it is; no root
# is needed. Where it cannot be had, the last line on stderr says why, and the exit code is 1.
set -euo pipefail
exec </dev/null

if [ $# -gt 0 ]; then # --help, since nothing else is asked of it
    sed -n '2,/^set/ { s/^# \{0,1\}//p }' "$0"
    exit 0
fi

packages=(libgl1-mesa-dri libglx-mesa0 libegl-mesa0 libgbm1 mesa-libgallium mesa-vulkan-drivers libdrm2)

die() {
    printf '%s\n' "$*" >&2
    exit 1
}

# The archives from which this machine takes its release, as its own sources name them.
archives() {
    apt-get update --print-uris | sed -n "s|^'\(.*\)/dists/$release/InRelease' .*|\1|p" | sort -u
}

# apt with lists, archives and sources of its own; of the system's it reads what is installed.
private_apt_get() { apt-get -q -c "$work/apt.conf" "$@" >&2; }

write_configuration() {
    mkdir -p "$work"/{lists,archives,apt}/partial
    cat >"$work/apt.conf" <<END
Dir::Etc::sourcelist "$work/sources.list";
Dir::Etc::sourceparts "-";
Dir::State::lists "$work/lists";
Dir::Cache "$work/apt";
Dir::Cache::archives "$work/archives";
Acquire::Languages "none";
Acquire::Retries "3";
APT::Sandbox::User "$(id -un)";
Debug::NoLocking "true";
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
END
}

# Downloads the packages, with what they need and the machine lacks, from the first archive that has them.
download() {
    local archive suite options='' keyring=/usr/share/keyrings/debian-archive-keyring.gpg
    [ ! -e "$keyring" ] || options="[signed-by=$keyring] "
    while read -r archive; do
        for suite in "$release" "$release-updates" "$release-backports"; do
            printf 'deb %s%s %s main\n' "$options" "$archive" "$suite"
        done >"$work/sources.list"
        if private_apt_get update && private_apt_get install --yes --download-only --reinstall \
            --no-install-recommends "${packages[@]/%//$release-backports}"; then
            return 0
        fi
    done < <(archives)
    return 1
}

unpack() {
    local archive
    for archive in "$work"/archives/*.deb; do
        dpkg -x "$archive" "$work/tree" || return 1
    done
}

fetch() {
    mkdir -p "$cache" || die "there is no folder to unpack a driver into: $cache"
    work=$(mktemp -d "$cache/fetch.XXXXXX")
    trap 'rm -rf "$work"' EXIT
    write_configuration
    download || die "no archive of this machine gives Mesa of $release-backports"
    unpack || die "the packages of $release-backports cannot be unpacked"
    rm -rf "$tree"
    mv -T "$work/tree" "$tree" # last: a tree that is there is whole
}

# Finds the driver in the tree, and what it still lacks.
inspect() {
    lib=$(find "$tree/usr/lib" -name libGLX_mesa.so.0 -printf '%h\n' -quit 2>/dev/null) || return 1
    manifest=$(find "$tree/usr/share/vulkan/icd.d" -name 'lvp_icd*.json' -print -quit 2>/dev/null) || return 1
    [ -e "$lib/libvulkan_lvp.so" ] || return 1
    missing=$(LD_LIBRARY_PATH=$lib ldd "$lib/libGLX_mesa.so.0" "$lib/libvulkan_lvp.so" | sed -n 's/ => not found//p')
    [ -z "$missing" ]
}

for tool in apt-get dpkg ldd; do
    command -v "$tool" >/dev/null || die "this machine has no $tool"
done
# shellcheck disable=SC1091
release=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
[ -n "$release" ] || die "/etc/os-release names no release"
cache=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/zelgl
tree=$cache/mesa-$release-backports

if ! inspect; then
    fetch
    inspect || die "the driver of $release-backports is not whole; it lacks:" "${missing:-its libraries}"
fi
# The manifest names the library without its folder, where the loader would take the system's.
sed "s|\"library_path\": *\"[^\"]*\"|\"library_path\": \"$lib/libvulkan_lvp.so\"|" "$manifest" >"$tree/lvp.json"

printf 'export %s=%q\n' \
    LD_LIBRARY_PATH "$lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" \
    LIBGL_DRIVERS_PATH "$lib/dri" \
    VK_DRIVER_FILES "$tree/lvp.json" \
    MESA_LOADER_DRIVER_OVERRIDE zink \
    GALLIUM_DRIVER zink \
    LIBGL_ALWAYS_SOFTWARE 1
