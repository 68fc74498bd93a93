# The front door. `make run` checks the bundled example schema; `make test` builds and runs every test.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/game.xml

.PHONY: all deps build run test sanitize-test bench clean

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

bench: deps
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	./build/bench/bench/velmora_bench
	./build/bench/bench/velmora_scaling

clean:
	rm -rf build
