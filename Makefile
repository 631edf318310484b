# One word for each thing one does here, over the CMake presets. `demo`, `test` and `bench` are the whole set-up
# on a bare Debian 12: they install what is missing by package name (tools/setup), build, and run.

JOBS ?= 2
PREFIX ?= /usr/local
# Passed on: make demo DATA=my.csv or DATA=my.mtx, make test TESTS=Gemm, make bench BENCH=gemm ARGS=--benchmark_filter=...
DATA ?=
TESTS ?=
BENCH ?=
ARGS ?=

release := build/release
# A first build for the library or the demo alone needs neither GoogleTest nor Google Benchmark. An existing tree
# keeps what it was configured with.
lean := $(if $(wildcard $(release)/CMakeCache.txt),,-DVRN_BUILD_TESTS=OFF -DVRN_BUILD_BENCH=OFF)
build := cmake --build -j $(JOBS) --preset

.PHONY: help demo test test-clang test-sanitize bench library install package pending clean
.DEFAULT_GOAL := help

help: ## what there is
	@sed -n 's/^\([a-z-]*\):.*## \(.*\)/  make \1\t\2/p' Makefile | expand -t 24

demo: library ## build and run the demonstrations; DATA=file.csv, file.mtx or file.wav takes your own numbers
	$(build) release --target demo sparse spectrum
	$(if $(filter-out %.mtx %.wav,$(or $(DATA),all.csv)),$(release)/bin/demo $(DATA))
	$(if $(filter %.mtx,$(or $(DATA),all.mtx)),$(release)/bin/sparse $(DATA))
	$(if $(filter %.wav,$(or $(DATA),all.wav)),$(release)/bin/spectrum $(DATA))

test: ## build everything and run all tests; TESTS=regex picks some
	@tools/setup build test
	cmake --preset release -DVRN_BUILD_TESTS=ON -DVRN_BUILD_BENCH=ON
	$(build) release
	ctest --preset release --no-tests=error $(if $(TESTS),-R '$(TESTS)')

test-clang: ## the same with clang, warnings being errors
	@tools/setup build test clang
	cmake --preset clang
	$(build) clang
	ctest --preset clang --no-tests=error $(if $(TESTS),-R '$(TESTS)')

test-sanitize: ## the same under the address and undefined-behaviour sanitizers
	@tools/setup build test
	cmake --preset sanitize
	$(build) sanitize
	ctest --preset sanitize --no-tests=error $(if $(TESTS),-R '$(TESTS)')

bench: ## run the benchmarks beside open peers; BENCH=name picks one, ARGS goes to the programs
	@tools/setup build bench
	cmake --preset release $(lean) -DVRN_BUILD_BENCH=ON
	$(build) release
	@tools/bench $(release) '$(BENCH)' $(ARGS)

library: ## build the libraries alone
	@tools/setup build
	cmake --preset release $(lean)
	$(build) release --target vrn_libraries

install: library ## install under PREFIX (/usr/local)
	cmake --install $(release) --prefix "$(PREFIX)"

package: library ## make a .deb in build/release/package
	@tools/setup package
	cpack --config $(release)/CPackConfig.cmake -B $(release)/package

pending: library ## how many of the back-end's names are real; ARGS=--list names the others
	@tools/pending $(ARGS)

clean: ## remove build/
	rm -rf build
