# Thin wrapper over CMake so that a new user needs no CMake knowledge.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
BUILD ?= build
SANITIZE_BUILD ?= build-sanitize
BENCH_BUILD ?= build-bench

.PHONY: all build run test test-sanitize bench clean

all: build

$(BUILD)/Makefile:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: $(BUILD)/Makefile
	cmake --build $(BUILD) -j $(JOBS)

# The example program through the command-line program: the advice it
# prints for each plant.
run: build
	./$(BUILD)/cogent examples/plants.kb

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

$(SANITIZE_BUILD)/Makefile:
	cmake -S . -B $(SANITIZE_BUILD) -DCMAKE_BUILD_TYPE=Debug -DCOGENT_SANITIZE=ON

test-sanitize: $(SANITIZE_BUILD)/Makefile
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)
	cd $(SANITIZE_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

$(BENCH_BUILD)/Makefile:
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DCOGENT_TESTS=OFF -DCOGENT_BENCH=ON

bench: $(BENCH_BUILD)/Makefile
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	./$(BENCH_BUILD)/cogent_bench $(BENCH_ARGS)
	./$(BENCH_BUILD)/cogent_targets $(TARGETS)

clean:
	rm -rf $(BUILD) $(SANITIZE_BUILD) $(BENCH_BUILD)
