# The two commands: `make test` and `make demo`. Each installs what is missing, builds and runs.
BUILD ?= build
BUILD_SANITIZE ?= build-sanitize
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all setup build test test-release test-sanitize test-tsan demo bench fuzz farm-test clean install-ofx

all: build

setup:
	@scripts/setup.sh

build: setup
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS)

# Release, then the address and undefined-behaviour sanitizers, then the thread sanitizer on the
# multi-threaded tests.
test: test-release test-sanitize test-tsan

test-release: build
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS) --timeout 600

# The same tests under the address and undefined-behaviour sanitizers; benchmarks are left out.
test-sanitize: setup
	cmake -S . -B $(BUILD_SANITIZE) -DCMAKE_BUILD_TYPE=Release -DVESK_SANITIZE=ON -DVESK_BENCH=OFF $(CMAKE_FLAGS)
	cmake --build $(BUILD_SANITIZE) -j$(JOBS)
	cd $(BUILD_SANITIZE) && ASAN_OPTIONS=detect_leaks=0 ctest --output-on-failure -j$(JOBS) --timeout 1200

demo:
	@scripts/setup.sh demo
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS) --target vesk sparkhost
	@scripts/demo.sh $(BUILD)

bench:
	@scripts/setup.sh bench
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DVESK_BENCH=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS)
	@scripts/bench.sh $(BUILD)

# A one-node Slurm cluster on this machine renders the demo scene in four chunks (needs root).
farm-test:
	@scripts/setup.sh farm
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS) --target vesk sparkhost
	@scripts/farm-test.sh $(BUILD)

# The tests that run render bands, conversions, host jobs, the frame writers and the tracked heap on
# several threads (every --threads count of the render contract included), under the thread
# sanitizer; a reported race fails the test that raised it. The contact sheet test is left out: it
# assembles its picture with OpenImageIO's own thread pool, which is not instrumented; reports
# from inside OpenImageIO are suppressed for the same reason (tests/tsan.supp).
BUILD_TSAN ?= build-tsan
TSAN_TESTS ?= ^(HeapTest|BandDispatch|Convert|ConvertBands|Blur|EntryTest|PluginTest|MpFork|FramePool|FrameWriters|HostVeskFrames|RenderShapes|SwarmDeterminism|ControlSweep|HostCli|RenderContract)\.
test-tsan: setup
	cmake -S . -B $(BUILD_TSAN) -DCMAKE_BUILD_TYPE=Release -DVESK_TSAN=ON -DVESK_BENCH=OFF $(CMAKE_FLAGS)
	cmake --build $(BUILD_TSAN) -j$(JOBS) --target unit_base unit_framework unit_library unit_sparkhost e2e_tests
	cd $(BUILD_TSAN) && TSAN_OPTIONS="halt_on_error=1 exitcode=66 suppressions=$(CURDIR)/tests/tsan.supp" ctest --output-on-failure -j$(JOBS) \
		--timeout 1200 -R '$(TSAN_TESTS)' -E 'ContactSheet'

# libFuzzer targets, built with clang in a folder of their own and run FUZZ_SECONDS each.
BUILD_FUZZ ?= build-fuzz
FUZZ_SECONDS ?= 60
fuzz:
	@scripts/setup.sh fuzz
	cmake -S . -B $(BUILD_FUZZ) -DCMAKE_BUILD_TYPE=Release -DVESK_FUZZ=ON -DVESK_BENCH=OFF \
		-DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 $(CMAKE_FLAGS)
	cmake --build $(BUILD_FUZZ) -j$(JOBS) --target fuzz_all
	@scripts/fuzz.sh $(BUILD_FUZZ) $(FUZZ_SECONDS)

# Copies Vesk.ofx.bundle where compositors look for OpenFX plug-ins: PREFIX if given, else the
# first folder of OFX_PLUGIN_PATH, else /usr/OFX/Plugins. A bundle already there is replaced whole.
OFX_INSTALL_DIR ?= $(if $(PREFIX),$(PREFIX),$(if $(OFX_PLUGIN_PATH),$(firstword $(subst :, ,$(OFX_PLUGIN_PATH))),/usr/OFX/Plugins))
install-ofx:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS) --target vesk_ofx
	mkdir -p "$(OFX_INSTALL_DIR)"
	rm -rf "$(OFX_INSTALL_DIR)/Vesk.ofx.bundle.new"
	cp -R $(BUILD)/Vesk.ofx.bundle "$(OFX_INSTALL_DIR)/Vesk.ofx.bundle.new"
	rm -rf "$(OFX_INSTALL_DIR)/Vesk.ofx.bundle"
	mv "$(OFX_INSTALL_DIR)/Vesk.ofx.bundle.new" "$(OFX_INSTALL_DIR)/Vesk.ofx.bundle"
	@echo "installed $(OFX_INSTALL_DIR)/Vesk.ofx.bundle"

clean:
	rm -rf $(BUILD) $(BUILD_SANITIZE) $(BUILD_FUZZ) $(BUILD_TSAN) out
