# The front door. `make run` checks the bundled example schema; `make test` builds and runs every test.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/game.xml

.PHONY: all deps configure build run test tidy sanitize-test tsan-test bench clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	cmake --preset default

build: configure
	cmake --build --preset default -j $(JOBS)

run: build
	./build/default/velmora-check-table $(EXAMPLE)

test: build
	ctest --preset default -j $(JOBS)

# clang-tidy (.clang-tidy: function size, naming) over every source file in src/, with the default
# build's compile commands. Any finding fails.
tidy: configure
	find src -name '*.cpp' | sort | xargs -P $(JOBS) -n 1 clang-tidy --quiet -p build/default

sanitize-test: deps
	cmake --preset sanitize
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)

# The tests that check from several threads at once, under ThreadSanitizer.
tsan-test: deps
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

bench: deps
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	./build/bench/bench/velmora_bench
	./build/bench/bench/velmora_scaling

clean:
	rm -rf build
