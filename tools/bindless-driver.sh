#!/usr/bin/env bash
# Prints the environment of an OpenGL driver with bindless textures, for a shell to eval:
#
#   eval "$(tools/bindless-driver.sh)"
#
# The driver is Mesa's zink over lavapipe, a software renderer, from the backports suite of this machine's Debian release.
# The script downloads it once and unpacks it into a cache folder. It does not change the system's Mesa and needs no root.
# On failure the last line on stderr states the reason, and the exit code is 1.
set -euo pipefail
exec </dev/null

if [ $# -gt 0 ]; then # --help, or any other argument
    sed -n '2,/^set/ { s/^# \{0,1\}//p }' "$0"
    exit 0
fi

packages=(libgl1-mesa-dri libglx-mesa0 libegl-mesa0 libgbm1 mesa-libgallium mesa-vulkan-drivers libdrm2)

die() {
    printf '%s\n' "$*" >&2
    exit 1
}

# The archives of this release in the package sources of this machine.
archives() {
    apt-get update --print-uris | sed -n "s|^'\(.*\)/dists/$release/InRelease' .*|\1|p" | sort -u
}

# Runs apt-get with separate lists, archives and sources; it reads only the state of installed packages from the system.
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

# Downloads the packages and their missing dependencies from the first archive that has them.
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
    mkdir -p "$cache" || die "the cache folder cannot be created: $cache"
    work=$(mktemp -d "$cache/fetch.XXXXXX")
    trap 'rm -rf "$work"' EXIT
    write_configuration
    download || die "no package source of this machine provides Mesa of $release-backports"
    unpack || die "the packages of $release-backports cannot be unpacked"
    rm -rf "$tree"
    mv -T "$work/tree" "$tree" # the last step: an existing tree is complete
}

# Finds the driver in the tree, and libraries that are missing.
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
[ -n "$release" ] || die "/etc/os-release has no release name"
cache=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/zelgl
tree=$cache/mesa-$release-backports

if ! inspect; then
    fetch
    inspect || die "the driver of $release-backports is incomplete; missing:" "${missing:-its libraries}"
fi
# The manifest names the library without a folder; the loader would use that of the system.
sed "s|\"library_path\": *\"[^\"]*\"|\"library_path\": \"$lib/libvulkan_lvp.so\"|" "$manifest" >"$tree/lvp.json"

printf 'export %s=%q\n' \
    LD_LIBRARY_PATH "$lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" \
    LIBGL_DRIVERS_PATH "$lib/dri" \
    VK_DRIVER_FILES "$tree/lvp.json" \
    MESA_LOADER_DRIVER_OVERRIDE zink \
    GALLIUM_DRIVER zink \
    LIBGL_ALWAYS_SOFTWARE 1
