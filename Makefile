# The two commands: `make test` and `make demo`. Each installs what is missing, builds and runs.
BUILD ?= build
BUILD_SANITIZE ?= build-sanitize
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all setup build test test-release test-sanitize demo bench farm-test clean

all: build

setup:
	@scripts/setup.sh

build: setup
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS)

test: test-release test-sanitize

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

clean:
	rm -rf $(BUILD) $(BUILD_SANITIZE) out
