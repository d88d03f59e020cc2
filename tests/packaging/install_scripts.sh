# To be sourced by the tests that install the build.

# copy_install_scripts BUILD_DIRECTORY COPY: COPY can be installed as the build can, and has a manifest of its own. That of
# the build belongs to whoever installed it last, and tells "uninstall" what to remove.
copy_install_scripts() {
  local script
  (cd "$1" && find . -name cmake_install.cmake) | while read -r script; do
    mkdir -p "$(dirname "$2/$script")"
    sed -E '/include\(|INSTALL_RECORD|INSTALL_MANIFEST\}/s,"'"$1"'/,"'"$2"'/,' "$1/$script" >"$2/$script"
  done
}
