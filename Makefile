# The front door. Everything here is a line or two over CMake, ctest and tools/.

BUILD := build
JOBS ?= $(shell nproc)
EVERY ?= 1
SANITIZER ?= asan

# Whoever only builds and runs is spared the packages of the tests.
PURPOSE := run
test bench load faults check packages: PURPOSE := test
fuzz: PURPOSE := fuzz
tidy: PURPOSE := tidy
sanitize: PURPOSE := sanitize

.PHONY: help build run stop test bench load faults fuzz sanitize check tidy docs clean packages installed

help: ## List the targets
	@grep -hE '^[a-z]+:.*##' $(MAKEFILE_LIST) | sed -E 's/:.*## /\t/' | expand -t 10

packages: installed ## Install all Debian packages that are missing

installed:
	@tools/install-packages $(PURPOSE)

$(BUILD)/build.ninja: CMakeLists.txt CMakePresets.json | installed
	@cmake --preset dev

build: installed $(BUILD)/build.ninja ## Build the programs (build/bin) and the provider library (build/lib)
	@cmake --build $(BUILD) --parallel $(JOBS) --target programs

run: build ## Make a home with a demo repository, start the server, prove it with svn
	@tools/run

stop: ## Stop the server that `make run` started
	@tools/stop

test: installed $(BUILD)/build.ninja ## Build and run every test
	@cmake --build $(BUILD) --parallel $(JOBS)
	@ctest --test-dir $(BUILD) --output-on-failure -j2

bench: installed ## Measure against the usual tools (BENCH_QUICK=1: small data; BENCH=rules: one group; PAGE=FILE: into that page)
	@cmake --preset release >/dev/null
	@cmake --build --preset release --parallel $(JOBS) --target kelvarion-bench
	@$(BUILD)/release/bin/kelvarion-bench $(if $(PAGE),--page $(PAGE)) $(BENCH)

faults: installed $(BUILD)/build.ninja ## Fail and kill every change at its calls (EVERY=10: every tenth); replicate while everything breaks
	@cmake --build $(BUILD) --parallel $(JOBS) --target fault_tests flow_tests
	@KELVARION_EVERY_CALL=$(EVERY) $(BUILD)/bin/fault_tests --gtest_brief=1
	@KELVARION_FAULT_SECONDS=120 $(BUILD)/bin/flow_tests --gtest_filter='ReplicationFaultTest.*'

fuzz: installed ## Look for inputs that break a reader of text (FUZZ_SECONDS=60 for each)
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz --parallel $(JOBS)
	@JOBS=$(JOBS) tools/fuzz $(BUILD)/fuzz

sanitize: installed ## Run every test under a sanitizer (SANITIZER=asan: address, leaks, undefined behaviour; tsan: threads)
	@JOBS=$(JOBS) tools/sanitize $(SANITIZER)

load: installed $(BUILD)/build.ninja ## Administer a large server by many clients, also while it changes (LOAD_SECONDS=300 a stage)
	@cmake --build $(BUILD) --parallel $(JOBS) --target kelvarion-load
	@$(BUILD)/bin/kelvarion-load --seconds $(or $(LOAD_SECONDS),300)

check: installed ## Check the rules of the source tree and its formatting
	@tools/check
	@tools/check-format

tidy: installed $(BUILD)/build.ninja ## Look for faults with clang-tidy (FILES="src/a.cpp src/b.cpp": in these)
	@JOBS=$(JOBS) tools/tidy $(BUILD) $(FILES)

docs: build ## Generate docs/classes/ from the schema
	@tools/generate-class-docs

clean: ## Remove everything that was built
	@rm -rf $(BUILD)
