# Fetches HDR photographs and a press profile out of Debian packages. To be sourced; the caller sets
# $data, an existing folder, and then finds there:
#   CandleGlass.exr Desk.exr Ocean.exr FOGRA39L_coated.icc

download() {
    # As root, apt would hand the download to a user who may not write here.
    (cd "$1" && apt-get -qq -o APT::Sandbox::User=root download "$2" </dev/null)
}

# Machines made from an image often know no packages until their lists are fetched.
refresh_package_lists() {
    local as_root=()
    [[ $EUID -eq 0 ]] || as_root=(sudo)
    "${as_root[@]}" apt-get -qq update </dev/null
}

# Copies files out of a Debian package without installing it.
#   fetch PACKAGE SIZE PATH ...    each lands in $data under its own name
fetch() {
    local package=$1 size=$2 path missing=() unpack=$data/$1.unpack
    shift 2
    for path; do
        [[ -f $data/${path##*/} ]] || missing+=("$path")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    echo "Fetching ${missing[*]##*/} from the package $package ($size)"
    rm -rf "$unpack"
    mkdir -p "$unpack"
    apt-cache show "$package" >/dev/null 2>&1 || refresh_package_lists
    download "$unpack" "$package"
    dpkg-deb --extract "$unpack/$package"_*.deb "$unpack"
    for path in "${missing[@]}"; do
        mv "$unpack/usr/share/$path" "$data/"
    done
    rm -rf "$unpack"
}

fetch_photographs() {
    local folder=psychtoolbox-3/PsychDemos/OpenEXRImages
    fetch psychtoolbox-3-common "26 MB" $folder/CandleGlass.exr $folder/Desk.exr $folder/Ocean.exr
    fetch texlive-base "22 MB" texlive/texmf-dist/tex/generic/colorprofiles/FOGRA39L_coated.icc
}
