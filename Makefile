# Convenience wrapper round CMake. `make test` does the whole set-up on a fresh Debian 12
# machine: installs the packages, configures, builds and runs every test.
#   make test SANITIZE=1   the same under AddressSanitizer + UndefinedBehaviorSanitizer
#   make test SANITIZE=thread
#                          the same under ThreadSanitizer, in build-tsan/. Qt is not built with
#                          it: tests/tsan.supp suppresses what Qt orders internally, naming Qt
#                          code only.
#   make demo              builds and runs the example host
#   make bench             builds and runs the benchmarks

SANITIZE ?= 0
JOBS ?= 2
ifeq ($(SANITIZE),thread)
BUILD ?= build-tsan
CMAKE_FLAGS += -DZORNX_SANITIZE=thread -DCMAKE_BUILD_TYPE=RelWithDebInfo
else ifeq ($(SANITIZE),1)
BUILD ?= build-sanitize
CMAKE_FLAGS += -DZORNX_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
else
BUILD ?= build
CMAKE_FLAGS += -DCMAKE_BUILD_TYPE=RelWithDebInfo
endif

.PHONY: all deps configure build test demo bench clean

all: build

deps:
	bash scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

configure: deps $(BUILD)/build.ninja

build: configure
	cmake --build $(BUILD) -j$(JOBS)

test: build
ifeq ($(SANITIZE),thread)
	cd $(BUILD) && TSAN_OPTIONS="suppressions=$(CURDIR)/tests/tsan.supp \
		ignore_noninstrumented_modules=1 halt_on_error=1" ctest --output-on-failure -j$(JOBS)
else
	cd $(BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
		LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp \
		ctest --output-on-failure -j$(JOBS)
endif

demo: build
	$(BUILD)/examples/minimal-host/minimal-host

bench: deps
	cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DZORNX_BUILD_BENCH=ON
	cmake --build build-bench -j$(JOBS)
	for b in build-bench/bench/bench_*; do \
		if [ -f "$$b" ] && [ -x "$$b" ]; then "$$b" || exit 1; fi; done

clean:
	rm -rf build build-sanitize build-tsan build-bench
