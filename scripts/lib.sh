# Shared by the scripts here; sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_SLOPPINESS=pch_defines,time_macros
fi

say() { printf '==> %s\n' "$*" >&2; }

# build <preset> [target...]: quiet unless something goes wrong.
build() {
    local preset=$1
    shift
    local log=build/$preset.log
    mkdir -p build
    say "building ($preset)"
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${@:+--target "$@"}; } \
        >"$log" 2>&1; then
        tail -n 60 "$log" >&2
        say "the build failed; everything it said is in $log"
        return 1
    fi
}
