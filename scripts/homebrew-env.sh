# Sourced by build.sh and run-sanitizers.sh before CMake runs. On a Mac it points CMake, and
# through it pkg-config, at Homebrew's Qt and at the keg-only libarchive, curl and openssl@3,
# which Homebrew does not link into its prefix and which Apple's own copies would shadow.
# Elsewhere it does nothing.
if [ "$(uname -s)" = Darwin ] && command -v brew >/dev/null; then
  for velko_formula in qt libarchive curl openssl@3; do
    velko_prefix=$(brew --prefix "$velko_formula")
    case ":${CMAKE_PREFIX_PATH:-}:" in
      *":$velko_prefix:"*) ;;
      *)
        CMAKE_PREFIX_PATH=$velko_prefix${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}
        PKG_CONFIG_PATH=$velko_prefix/lib/pkgconfig${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}
        ;;
    esac
  done
  export CMAKE_PREFIX_PATH PKG_CONFIG_PATH
  unset velko_formula velko_prefix
fi
