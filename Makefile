# The front door. `make run` checks the bundled example schema; `make test` builds and runs every test.
# `make fuzz` runs each fuzz target for FUZZ_SECONDS; `make coverage` reports the tests' coverage
# of src/ and fails under the floors below.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/game.xml
FUZZ_SECONDS ?= 60
COVERAGE_LINE_FLOOR = 97
COVERAGE_BRANCH_FLOOR = 92

.PHONY: all deps build run test sanitize-test fuzz coverage bench clean

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

# Branches that only an exception or a compiler-generated path can take are not counted.
coverage: deps
	cmake --preset coverage
	cmake --build --preset coverage -j $(JOBS)
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage -j $(JOBS)
	gcovr --root . --object-directory build/coverage --filter 'src/' -j $(JOBS) \
	  --exclude-directories 'build/coverage/CMakeFiles/[0-9]' \
	  --exclude-unreachable-branches --exclude-throw-branches \
	  --fail-under-line $(COVERAGE_LINE_FLOOR) --fail-under-branch $(COVERAGE_BRANCH_FLOOR) \
	  --print-summary

bench: deps
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	./build/bench/bench/velmora_bench

clean:
	rm -rf build
