# Sourced by the bench-*.sh scripts, from the project's root.

# bench_program BUILD_DIR TARGET: configures BUILD_DIR once, builds TARGET and prints the path of
# its program.
bench_program() {
  if [ ! -f "$1/CMakeCache.txt" ]; then
    cmake -S . -B "$1" -G Ninja >&2
  fi
  cmake --build "$1" --target "$2" -j2 >&2
  find "$1" -name "$2" -type f -perm -u+x | head -n 1
}

# bench_database FILE: the 142 MB benchmark database unpacked at FILE, once (a run stopped
# half-way leaves only FILE.part).
bench_database() {
  if [ ! -f "$1" ]; then
    mkdir -p "$(dirname "$1")"
    gzip -dc ../shared/fixtures/bench/Office.mdb.gz >"$1.part"
    mv "$1.part" "$1"
  fi
}
