# The front door. `make run` checks the bundled example schema; `make test` builds and runs every test.
# `make fuzz` runs each fuzz target for FUZZ_SECONDS.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/game.xml
FUZZ_SECONDS ?= 60

.PHONY: all deps build run test sanitize-test fuzz bench clean

all: build

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake --preset default
	cmake --build --preset default -j $(JOBS)

run: build
	./build/default/velmora-check-table $(EXAMPLE)

test: build
	ctest --preset default -j $(JOBS)

sanitize-test: deps
	cmake --preset sanitize
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)

fuzz: deps
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	bash fuzz/run.sh $(FUZZ_SECONDS)

bench: deps
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	./build/bench/bench/velmora_bench

clean:
	rm -rf build
