# Convenience wrapper round CMake. `make test` does the whole set-up on a fresh Debian 12
# machine: installs the packages, configures, builds and runs every test.
#   make test SANITIZE=1   the same under AddressSanitizer + UndefinedBehaviorSanitizer
#   make test SANITIZE=thread
#                          the same under ThreadSanitizer, in build-tsan/. Qt is not built with
#                          it: tests/tsan.supp suppresses what Qt orders internally, naming Qt
#                          code only.
#   make demo              builds and starts the studio on a copy of the sample game; without
#                          a display, runs the example host and writes studio screenshots
#                          into the build directory
#   make bench             builds and runs the benchmarks
#   make fuzz              builds the libFuzzer targets with clang (build-fuzz/) and runs each
#                          for FUZZ_SECONDS (default 60) on seeds written by the library

SANITIZE ?= 0
JOBS ?= 2
FUZZ_SECONDS ?= 60
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

.PHONY: all deps configure build test demo bench fuzz clean

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

# The studio edits a copy of the sample game, made once, so that the sources stay as they are.
DEMO_GAME = $(BUILD)/demo-game
STUDIO = $(BUILD)/apps/studio/studio

demo: build
	@test -d $(DEMO_GAME) || cp -r examples/sample-game $(DEMO_GAME)
	@if [ -n "$$DISPLAY" ]; then \
		$(STUDIO) --open chars/lantern/lantern.moves $(DEMO_GAME); \
	else \
		$(BUILD)/examples/minimal-host/minimal-host || exit 1; \
		if command -v xvfb-run >/dev/null; then run="xvfb-run -a"; \
		else run="env QT_QPA_PLATFORM=offscreen"; fi; \
		$$run $(STUDIO) --settings $(BUILD)/demo-settings/studio.ini \
			--screenshot $(BUILD)/studio.png $(DEMO_GAME) && \
		$$run $(STUDIO) --settings $(BUILD)/demo-settings/studio.ini \
			--screenshot $(BUILD)/studio-code.png --open chars/lantern/lantern.moves \
			$(DEMO_GAME) && \
		echo "Studio screenshots: $(BUILD)/studio.png $(BUILD)/studio-code.png"; \
	fi

bench: deps
	cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DZORNX_BUILD_BENCH=ON
	cmake --build build-bench -j$(JOBS)
	for b in build-bench/bench/bench_*; do \
		if [ -f "$$b" ] && [ -x "$$b" ]; then "$$b" || exit 1; fi; done

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DZORNX_FUZZ=ON -DZORNX_BUILD_EXAMPLES=OFF
	cmake --build build-fuzz -j$(JOBS) --target fuzz_all
	bash fuzz/run.sh build-fuzz $(FUZZ_SECONDS)

clean:
	rm -rf build build-sanitize build-tsan build-bench build-fuzz
