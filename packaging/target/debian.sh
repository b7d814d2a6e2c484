# What the scripts of this folder share: which Debian the target is, and where its packages come from.
# shellcheck shell=bash

readonly target_suite=bullseye
readonly target_architecture=armhf

# The archive that this machine's own packages come from, as apt is set up here.
debian_mirror() {
    # shellcheck disable=SC2016 # for apt to expand
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | grep -v security | head -n 1
}

# extract_packages FOLDER PACKAGE...: unpacks them and what they depend on; nothing of them runs.
extract_packages() {
    local into=$1 mirror
    shift
    mirror=$(debian_mirror)
    [ -n "$mirror" ] || { echo "target: apt on this machine names no Debian archive" >&2; exit 1; }
    mmdebstrap --quiet --variant=extract --architectures="$target_architecture" --include="$(IFS=, && echo "$*")" \
        "$target_suite" "$into" "deb $mirror $target_suite main"
}

# archive FILE FOLDER: the folder as a part of a root file system that the kernel unpacks at boot.
archive() {
    bsdtar --create --format=newc --uid 0 --gid 0 --file=- --directory="$2" . | gzip -1 >"$1"
}
