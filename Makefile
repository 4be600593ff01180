# The few commands that everybody needs; CMake does the work (see CMakePresets.json for more).
.PHONY: all build run test bench asan tsan debug format packages test-packages clean
.DEFAULT_GOAL := build

packages:
	@scripts/install-packages.sh

test-packages:
	@scripts/install-packages.sh tests

# Library, drivers, command line and examples: build/release/bin/qxsql
build: packages
	@cmake --preset release > /dev/null
	@cmake --build --preset release --target products

# The main job on the embedded database and the bundled sample
run: build
	@scripts/run-sample.sh build/release

# All tests
test: test-packages
	@scripts/run-tests.sh release

asan tsan debug: test-packages
	@scripts/run-tests.sh $@

# Each figure as a ratio to its floor, measured in the same run
bench: packages
	@cmake --preset release > /dev/null
	@cmake --build --preset release --target qxbench
	@build/release/bin/qxbench

format:
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
