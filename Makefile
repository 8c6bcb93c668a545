# span3d top-level commands. Everything else is CMake; these targets only
# chain configure, build and run so that a fresh machine needs no other step.

JOBS      ?= $(shell nproc 2>/dev/null || echo 2)
BUILD     ?= build
CMAKE_GEN := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")

RELEASE   := $(BUILD)/release
SANITIZE  := $(BUILD)/sanitize
DEBUG     := $(BUILD)/debug

.PHONY: all deps configure build test test-release test-sanitize demo bench viewer install clean

all: build

deps:
	@bash scripts/install-deps.sh

# Release: g++ at -O3, the compiler most hosts ship with.
$(RELEASE)/CMakeCache.txt: | deps
	cmake -S . -B $(RELEASE) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++

# Sanitizer build: clang at -O0 with AddressSanitizer and UBSan, so that every
# run exercises both compilers and both ends of the optimisation range; the
# golden images must match in both.
$(SANITIZE)/CMakeCache.txt: | deps
	cmake -S . -B $(SANITIZE) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DSPAN3D_SANITIZE=ON

$(DEBUG)/CMakeCache.txt: | deps
	cmake -S . -B $(DEBUG) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug

configure: $(RELEASE)/CMakeCache.txt

build: $(RELEASE)/CMakeCache.txt
	cmake --build $(RELEASE) -j $(JOBS)

test-release: build
	cd $(RELEASE) && ctest --output-on-failure -j $(JOBS)

test-sanitize: $(SANITIZE)/CMakeCache.txt
	cmake --build $(SANITIZE) -j $(JOBS)
	cd $(SANITIZE) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS)

test: test-release test-sanitize

debug: $(DEBUG)/CMakeCache.txt
	cmake --build $(DEBUG) -j $(JOBS)

demo: build
	cmake --build $(RELEASE) --target span3d_demo -j $(JOBS)
	mkdir -p out
	$(RELEASE)/demo/span3d_demo out

bench: build
	cmake --build $(RELEASE) --target span3d_bench -j $(JOBS)
	$(RELEASE)/bench/span3d_bench --benchmark_counters_tabular=true

install: build
	cmake --install $(RELEASE) --prefix $(or $(PREFIX),/usr/local)

clean:
	rm -rf $(BUILD) out
