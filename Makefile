# span3d top-level commands. Everything else is CMake; these targets only
# chain configure, build and run so that a fresh machine needs no other step.

JOBS      ?= $(shell nproc 2>/dev/null || echo 2)
BUILD     ?= build
CMAKE_GEN := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")
CTEST     := ctest --output-on-failure --no-tests=error -j $(JOBS)

RELEASE   := $(BUILD)/release
SANITIZE  := $(BUILD)/sanitize
DEBUG     := $(BUILD)/debug

# Each step already builds in parallel; the steps themselves run in order.
.NOTPARALLEL:

.PHONY: all deps configure build test test-release test-sanitize debug demo bench install clean

all: build

deps:
	@bash scripts/install-deps.sh

# Release: g++ at -O3, the compiler most hosts ship with.
$(RELEASE)/CMakeCache.txt: | deps
	cmake -S . -B $(RELEASE) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++

# Sanitizer build: clang at -O0 with AddressSanitizer and UBSan, so that every
# run exercises both compilers and both ends of the optimisation range; the
# golden images must match in both. The sanitizer run-time options (every
# finding fatal, leak detection where LeakSanitizer can run) are compiled into
# the test executables: see cmake/SanitizerDefaults.cmake.
$(SANITIZE)/CMakeCache.txt: | deps
	cmake -S . -B $(SANITIZE) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DSPAN3D_SANITIZE=ON

$(DEBUG)/CMakeCache.txt: | deps
	cmake -S . -B $(DEBUG) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug

configure: $(RELEASE)/CMakeCache.txt

build: $(RELEASE)/CMakeCache.txt
	cmake --build $(RELEASE) -j $(JOBS)

test-release: build
	cd $(RELEASE) && $(CTEST)

test-sanitize: $(SANITIZE)/CMakeCache.txt
	cmake --build $(SANITIZE) -j $(JOBS)
	cd $(SANITIZE) && $(CTEST)

# deps, release build and suite, sanitizer build and suite.
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
