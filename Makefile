# Every job is one word; `make help` lists them. Missing packages are installed if needed.

JOBS := $(shell nproc)
# Evaluated when it is used, since ccache may be among the packages that have just been installed.
CONFIGURE = cmake $$(command -v ccache >/dev/null && \
  echo -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: all demo test test-view test-python wheel pictures soak fuzz bench bench-python asan tsan format lint reference docs install deb deb-test clean help

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

test-view: build/build.ninja ## try the pages of `zdbcc view` in a browser, and leave pictures of them in build/view
	@script/packages.sh build view
	@cmake --build --preset release --target zdbcc diet_demo
	@script/python.sh build tests/view/view_test.py build/bin/zdbcc build/bin/diet_demo examples build/view

pictures: build/build.ninja ## draw the pictures of the documents again
	@cmake --build --preset release --target zdbcc diet_demo _core
	@script/peers.sh build python
	@script/pictures.sh build

test-python: build/build.ninja ## test the Python package with what only PyPI has, its types, stubs and style
	@cmake --build --preset release --target _core zdbcc diet_demo >/dev/null
	@script/test_python.sh build

wheel: build/build.ninja ## make the Python package's sdist and a wheel that needs nothing else, for PYTHON if given
	@script/wheel.sh build $(PYTHON)

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
	@script/peers.sh build python
	@script/highs.sh build/lib
	@mkdir -p build/bench-results
	@script/python.sh build bench/python/records.py build/lib/libzdbcclib64.so >build/bench-results/python.txt
	@cat build/bench-results/python.txt
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
	@cmake --build build-lint --target zdbcc zdbcclib64 diet_demo >/dev/null
	@script/peers.sh build-lint lint
	@script/lint.sh build-lint

reference: all ## write the reference of the tool's verbs into doc/reference/tool.md
	@script/reference.sh build/bin/zdbcc

docs: ## build the site into build/docs
	@script/packages.sh docs
	@script/docs.sh build/docs

install: build/build.ninja ## install library, companions and tool under PREFIX, /usr/local if it is not given
	@cmake --build --preset release --target installed
	@script/highs.sh build/lib
	@cmake --install build $(if $(PREFIX),--prefix $(PREFIX))

deb: ## build the Debian packages into build/deb and check them
	@script/packages.sh deb
	@script/deb.sh

deb-test: ## install them into a bare Debian and try them there: needs root
	@script/packages.sh debtest
	@script/deb_test.sh

clean: ## remove everything that was built
	@rm -rf build build-dev build-asan build-tsan build-lint build-fuzz build-python

help: ## list the jobs
	@sed -n 's/^\([a-z-]*\):.*## \(.*\)/\1\t\2/p' Makefile | expand -t 14

# Once build.ninja exists, the build itself configures again if needed.
build/build.ninja:
	@script/packages.sh build mpi
	@$(CONFIGURE) --preset release >/dev/null
