# Every job is one word; `make help` lists them. Missing packages are installed if needed.

JOBS := $(shell nproc)
# Evaluated when it is used, since ccache may be among the packages that have just been installed.
CONFIGURE = cmake $$(command -v ccache >/dev/null && \
  echo -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: all demo test soak fuzz bench bench-python asan tsan format lint reference docs install clean help

all: build/build.ninja ## build everything into build/
	@cmake --build --preset release
	@script/highs.sh build/lib

demo: build/build.ninja ## run the main job on real data
	@cmake --build --preset release --target diet_demo zdbcc
	@mkdir -p build/demo
	@build/bin/diet_demo examples/diet/data build/demo

test: all ## build everything and run all tests
	@script/peers.sh build
	@ctest --preset release -j $(JOBS)

soak: all ## try every fault of file work and of memory, and kill writers at random, for many minutes
	@build/bin/zxf_faults --soak
	@build/bin/script_test --soak tests/script/*.scr
	@build/bin/bulk_script_test --soak tests/bulk/*.scr
	@build/bin/model_script_test --soak tests/io/*.scr
	@build/bin/modelfile_script_test --soak $(CURDIR)/tests/companions/modelfile_memory.scr

SECONDS = 60
fuzz: ## search for inputs that break something, SECONDS for each of five fuzzers
	@script/packages.sh build fuzz
	@$(CONFIGURE) --preset fuzz >/dev/null
	@cmake --build --preset fuzz
	@script/fuzz.sh build-fuzz $(SECONDS) zxf_read:fuzz/zxf/corpus_read \
	  zxf_calls:fuzz/zxf/corpus_calls modelfile:fuzz/modelfile/corpus storages:fuzz/storages/corpus csv:fuzz/csv/corpus

bench: ## measure the library and its peers
	@script/packages.sh build bench
	@$(CONFIGURE) --preset release -DZDB_BUILD_BENCH=ON >/dev/null
	@cmake --build --preset release --target bench/all zxfcclib64
	@script/peers.sh build bench
	@script/bench.sh build/bench-results build/bin/bench_*

bench-python: ## measure the Python package and its peers
	@script/packages.sh build
	@$(CONFIGURE) --preset release >/dev/null
	@cmake --build --preset release --target _core >/dev/null
	@script/highs.sh build/lib
	@script/python.sh build bench/python/records.py build/lib/libzdbcclib64.so
	@script/python.sh build bench/python/sweep.py build/lib

asan: ## run all tests under the address and undefined-behaviour sanitizers
	@script/packages.sh build mpi
	@$(CONFIGURE) --preset asan >/dev/null
	@cmake --build --preset asan
	@script/highs.sh build-asan/lib
	@ctest --preset asan -j $(JOBS)

tsan: ## run the tests of several threads under the thread sanitizer
	@script/packages.sh build mpi
	@$(CONFIGURE) --preset tsan >/dev/null
	@cmake --build --preset tsan
	@ctest --preset tsan

format: ## format all C and C++ files
	@script/packages.sh lint
	@script/sources.sh | xargs clang-format -i

lint: ## check layout, common faults, include directions, the manual, run paths, the Python package, that every test is built
	@script/packages.sh build mpi lint bench
	@$(CONFIGURE) --preset release -B build-lint -DZDB_BUILD_BENCH=ON >/dev/null
	@cmake --build build-lint --target zdbcc diet_demo >/dev/null
	@script/peers.sh build-lint lint
	@script/lint.sh build-lint

reference: all ## write the reference of the tool's verbs into doc/reference/tool.md
	@script/reference.sh build/bin/zdbcc

docs: ## build the site into build/docs
	@script/packages.sh docs
	@script/docs.sh build/docs

install: all ## install under PREFIX, /usr/local if it is not given
	@cmake --install build $(if $(PREFIX),--prefix $(PREFIX))

clean: ## remove everything that was built
	@rm -rf build build-dev build-asan build-tsan build-lint build-fuzz

help: ## list the jobs
	@sed -n 's/^\([a-z-]*\):.*## \(.*\)/\1\t\2/p' Makefile | expand -t 14

# Once build.ninja exists, the build itself configures again if needed.
build/build.ninja:
	@script/packages.sh build mpi
	@$(CONFIGURE) --preset release >/dev/null
