# SPDX-License-Identifier: Apache-2.0
# The short way to everything: `make help`. The build itself is CMake's (CMakePresets.json); this
# file installs what a target needs, configures and builds once, and runs.

SHELL := /bin/bash
.SHELLFLAGS := -euo pipefail -c
.DEFAULT_GOAL := help

ARGS ?= -enumi -class BRV_MetricValue
FAULTS ?=
PREFIX ?= /usr/local
DESTDIR ?=
# How long `make fuzz` keeps each target busy.
SECONDS_EACH ?= 60

BUILD_PACKAGES := g++ cmake ninja-build libboost-dev libpugixml-dev nlohmann-json3-dev
TEST_PACKAGES := $(BUILD_PACKAGES) libgtest-dev libgmock-dev valgrind jq procps iproute2
CLANG_PACKAGES := $(BUILD_PACKAGES) clang-14 libclang-rt-14-dev
FAULTS_PACKAGES := $(BUILD_PACKAGES) strace python3
BENCH_PACKAGES := $(BUILD_PACKAGES) libbenchmark-dev procps iproute2

SOURCES = $(shell find src tests bench fuzz examples -name '*.cpp' -o -name '*.h' -o -name '*.c')
PROGRAM := src/cimb/brvcimb

# $(call need,PACKAGES): installs those that are missing; a user who may not is told which. Elsewhere
# than on Debian that is the user's own business.
define need
if command -v dpkg-query >/dev/null; then \
  state=" $$(dpkg-query -W -f '$${Package}:$${db:Status-Status} ' $(1) 2>/dev/null || true)"; \
  missing=""; \
  for package in $(1); do \
    [[ "$$state" == *" $$package:installed "* ]] || missing+=" $$package"; \
  done; \
  if [[ -n "$$missing" ]]; then \
    as_root=; \
    if [[ $$(id -u) != 0 ]]; then \
      as_root=sudo; \
      if ! sudo -n true 2>/dev/null && ! sudo -v; then \
        echo "Neither root nor sudo: these packages have to be installed first:$$missing" >&2; \
        exit 1; \
      fi; \
    fi; \
    echo "Installing:$$missing" >&2; \
    $$as_root apt-get -qq update </dev/null; \
    $$as_root env DEBIAN_FRONTEND=noninteractive \
      apt-get -qq -y --no-install-recommends install $$missing </dev/null >/dev/null; \
  fi; \
fi
endef

# $(call build,PRESET,PACKAGES[,TARGETS]): configured when the presets changed, built when a source
# did. The first build shows its progress, later ones only what goes wrong.
define build
$(call need,$(2)); \
dir=build/$(1); \
if [[ ! $$dir/build.ninja -nt CMakePresets.json ]]; then \
  cmake --preset $(1) >&2; touch $$dir/build.ninja; \
fi; \
if [[ ! -e $$dir/.built ]]; then \
  ninja -C $$dir $(3) >&2; \
else \
  ninja -C $$dir --quiet $(3) | { grep -vx 'ninja: no work to do.' || true; } >&2; \
fi; \
touch $$dir/.built
endef

.PHONY: help run release test install format check-format clang tidy golden memcheck faults \
        fuzz fuzz-corpus bench clean

help: ## this list
	@echo 'make TARGET, where TARGET is one of'
	@sed -nE 's/^([a-z-]+):[^#]*## (.*)/\1\t\2/p' Makefile | expand -t 16 | sed 's/^/  /'

release: ## build what is shipped
	@$(call build,release,$(BUILD_PACKAGES))

run: release ## build and run; ARGS="..." are the program's arguments
	@build/release/$(PROGRAM) $(ARGS)

test: ## build with address and undefined behaviour sanitizers, run all tests
	@$(call build,dev,$(TEST_PACKAGES))
	@ctest --test-dir build/dev --output-on-failure --no-tests=error -j $$(nproc)

install: release ## install into PREFIX (/usr/local) below DESTDIR
	@DESTDIR='$(DESTDIR)' cmake --install build/release --prefix '$(PREFIX)'

format: ## format all sources
	@$(call need,clang-format-14)
	@clang-format-14 -i $(SOURCES)

check-format: ## fail on a source that is not formatted
	@$(call need,clang-format-14)
	@clang-format-14 --dry-run -Werror $(SOURCES)

clang: ## build everything with the second compiler
	@$(call build,clang,$(TEST_PACKAGES) $(CLANG_PACKAGES))

tidy: clang ## static analysis of src/ by the checks in .clang-tidy
	@$(call need,clang-tidy-14)
	@run-clang-tidy-14 -quiet -p build/clang -j $$(nproc) "$$PWD/src/" 2>&1 | \
	  { grep -vE '^clang-tidy-14 |^$$|[0-9]+ warnings? generated|^Suppressed |^Use -' || true; }

golden: ## build what is shipped with the tests, run those that start the program or children
	@$(call build,release-tests,$(TEST_PACKAGES),cli_tests inventory_tests runtime_tests)
	@ctest --test-dir build/release-tests --output-on-failure --no-tests=error -j $$(nproc) -R '^(cli|inventory|runtime)\.'

memcheck: ## valgrind over one run of every operation of what is shipped
	@$(call build,release-tests,$(TEST_PACKAGES),brvcimb)
	@scripts/memcheck build/release-tests/$(PROGRAM)

faults: ## let system calls and allocations of what is shipped fail, one by one; FAULTS="..." are options
	@$(call build,release,$(FAULTS_PACKAGES))
	@scripts/faults build/release/$(PROGRAM) $(FAULTS)

fuzz: ## run every fuzz target for SECONDS_EACH (60) seconds
	@$(call build,fuzz,$(CLANG_PACKAGES))
	@fuzz/run build/fuzz/fuzz -max_total_time=$(SECONDS_EACH)

fuzz-corpus: ## run every fuzz target over its committed corpus
	@$(call build,fuzz,$(CLANG_PACKAGES))
	@fuzz/run build/fuzz/fuzz -runs=0

bench: ## run the benchmarks and compare whole runs with vmstat and the floor
	@$(call build,bench,$(BENCH_PACKAGES))
	@bench/run build/bench

clean: ## remove everything built
	@rm -rf build
