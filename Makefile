# The front door. `make run` builds the command alone and checks the bundled example schema;
# `make test` builds and runs every test. (./run.sh and ./test.sh do the same where make is not
# installed yet.)
# `make fuzz` runs each fuzz target for FUZZ_SECONDS; `make coverage` reports the tests' coverage
# of src/ and fails under the floors below.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/game.xml
FUZZ_SECONDS ?= 60
COVERAGE_LINE_FLOOR = 97
COVERAGE_BRANCH_FLOOR = 92

.PHONY: all deps test-deps configure build build-command run test tidy sanitize-test tsan-test fuzz coverage bench docs clean

all: build

deps:
	@bash scripts/install-deps.sh

# The tests also validate the SARIF reports, with a validator from npm.
test-deps:
	@bash scripts/install-deps.sh --with-sarif-validator

configure: deps
	cmake --preset default

build: configure
	cmake --build --preset default -j $(JOBS)

build-command: configure
	cmake --build --preset default -j $(JOBS) --target velmora-check-table

run: build-command
	./build/default/velmora-check-table $(EXAMPLE)

test: test-deps build
	ctest --preset default -j $(JOBS)

# clang-tidy (.clang-tidy: function size, naming) over every source file in src/, with the default
# build's compile commands. Any finding fails.
tidy: configure
	find src -name '*.cpp' | sort | xargs -P $(JOBS) -n 1 clang-tidy --quiet -p build/default

sanitize-test: test-deps
	cmake --preset sanitize
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)

# The tests that check from several threads at once, under ThreadSanitizer.
tsan-test: deps
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

fuzz: deps
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	bash fuzz/run.sh $(FUZZ_SECONDS)

# Branches that only an exception or a compiler-generated path can take are not counted. The
# counters are updated atomically (see the preset): the command checks tables on several threads.
coverage: test-deps
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
	./build/bench/bench/velmora_scaling
	./build/bench/bench/velmora_near_parser

# docs/rules.md is the command's own --explain of every code it lists; a test keeps them equal.
docs: build
	for code in $$(./build/default/velmora-check-table --list-rules | awk '{print $$2}'); do \
	  ./build/default/velmora-check-table --explain "$$code" || exit 1; \
	done > docs/rules.md

clean:
	rm -rf build
