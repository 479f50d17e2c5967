# SPDX-License-Identifier: Apache-2.0
# Velmora Account client: the entry points. `make check` and `make demo` work on a fresh Debian machine.
JOBS ?= $(shell nproc)
CHECK_DIR ?= build/check
RELEASE_DIR ?= build/release
FUZZ_DIR ?= build/fuzz
FUZZ_SECONDS ?= 60

.PHONY: all deps check build-check lint demo build-release fuzz fuzz-smoke corruption alloc-faults bench valgrind docs clean

all: build-release

deps:
	@scripts/install-deps.sh

# The whole suite, with AddressSanitizer and UndefinedBehaviorSanitizer, the format and clang-tidy
# checks (run beside the tests, which mostly wait), then a short fuzz run.
check: deps build-check
	@scripts/lint.sh $(CHECK_DIR) $(JOBS) > $(CHECK_DIR)/lint.log 2>&1 & lint=$$!; \
	ctest --test-dir $(CHECK_DIR) -j $(JOBS) --output-on-failure --timeout 120; tests=$$?; \
	wait $$lint; linted=$$?; cat $(CHECK_DIR)/lint.log; \
	[ $$tests -eq 0 ] && [ $$linted -eq 0 ]
	$(MAKE) --no-print-directory fuzz-smoke

# The format of the whole tree and the clang-tidy checks of the library (scripts/lint.sh).
lint: deps
	cmake -S . -B $(CHECK_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=ON > /dev/null
	scripts/lint.sh $(CHECK_DIR) $(JOBS)

# The benchmarks are built here too and each runs a few of its rows once (CTest bench.*), so that
# a change that breaks one fails make check; figures come only from make bench.
build-check:
	cmake -S . -B $(CHECK_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=ON -DVELMORA_BENCH=ON
	cmake --build $(CHECK_DIR) -j $(JOBS)

build-release: deps
	cmake -S . -B $(RELEASE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_TESTS=OFF -DVELMORA_BENCH=ON
	cmake --build $(RELEASE_DIR) -j $(JOBS)

# The main job: a platform root, the agent, a demo user, tokens through the library in both transports.
demo: build-release
	scripts/demo.sh $(RELEASE_DIR)

# libFuzzer targets (clang): `make fuzz` runs each for FUZZ_SECONDS; `make fuzz-smoke` briefly, from
# the committed seed corpus.
$(FUZZ_DIR)/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_FUZZ=ON -DVELMORA_TESTS=ON

fuzz: deps $(FUZZ_DIR)/build.ninja
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target velmora_fuzzers
	scripts/run-fuzzers.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

fuzz-smoke: deps $(FUZZ_DIR)/build.ninja
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target velmora_fuzzers
	scripts/run-fuzzers.sh $(FUZZ_DIR) 5

# The corruption suite in full: every committed fuzz seed and every truncation, byte flip and
# length-field value of it (make check replays all of them but for the largest corpus, of which
# it replays a fixed, even selection).
corruption: build-check
	VELMORA_REPLAY_BUDGET=0 ctest --test-dir $(CHECK_DIR) -R '^corruption\.' --output-on-failure

# Allocation-failure injection in full: the out-of-memory tests walk every record and list type
# (make check walks a representative set of them; every other walk is the same in both).
alloc-faults: build-check
	VELMORA_ALLOC_FAULTS_ALL=1 ctest --test-dir $(CHECK_DIR) -R 'OutOfMemory' --output-on-failure

# Every test in its own process under valgrind (no sanitizers), with the documented suppressions.
VALGRIND_DIR ?= build/valgrind
valgrind: deps
	# valgrind 3.19 reads DWARF 4, not the DWARF 5 the compilers write by default.
	cmake -S . -B $(VALGRIND_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=OFF \
	  -DCMAKE_C_FLAGS=-gdwarf-4 -DCMAKE_CXX_FLAGS=-gdwarf-4
	cmake --build $(VALGRIND_DIR) -j $(JOBS)
	scripts/run-valgrind.sh $(VALGRIND_DIR) '$(or $(VALGRIND_FILTER),*)'

# BENCH_ARGS go to every benchmark, e.g. BENCH_ARGS=--benchmark_min_time=0.01 for a quick run.
bench: build-release
	scripts/run-benchmarks.sh $(RELEASE_DIR) $(BENCH_ARGS)

# The API reference of the public headers (Doxygen; any warning fails it): $(DOCS_DIR)/html.
DOCS_DIR ?= build/docs
docs:
	scripts/docs.sh $(DOCS_DIR)

clean:
	rm -rf build
