# make          build everything
# make demo     two installations exchange packets, through a folder and an FTP server (BITS=64 for the 64-bit build)
# make test     the fast tests of all builds, and checks of the sources;  make test-all   the slow tests, too
# make package  the zip files of a release, in build/win32/package and build/win64/package
# make dist     all files of a release, with installers and sums, in build/dist
# make fuzz     the portable parts under random input (FUZZ_SECONDS=300 each)
# make screenshots  pictures of the dialogs
# make bench    the library and the companion programs beside others of their kind, in one table
# make torture  two installations exchange packets while all around them breaks (ROUNDS=N SEED=S; without end)
# make coverage which lines the tests execute
# make undefined the fast tests of a 64-bit build whose programs end at undefined behaviour
# make format   clang-format;  make tidy   clang-tidy
#
# Each build is a preset as well: cmake --workflow --preset win64 (win32, native, fuzz), after tools/setup.

SHELL := /bin/bash
.DELETE_ON_ERROR:

# Which Windows builds run here; tools/setup finds out.
RUNNABLE = $(or $(shell cat build/setup/bits 2>/dev/null),64)
BITS ?= $(lastword $(RUNNABLE))
# What runs here is known only after the set-up, too late for a list of prerequisites.
BUILD_RUNNABLE = $(MAKE) --no-print-directory build-win$(BITS)
SOURCES = git ls-files -z --cached --others --exclude-standard -- '*.cpp' '*.h'

.PHONY: all setup demo test test-all package dist fuzz screenshots bench torture coverage undefined format check-format tidy clean
.NOTPARALLEL:

all: build-native build-fuzz build-win32 build-win64

setup:
	@tools/setup

build-%: setup
	@[[ build/$*/build.ninja -nt CMakePresets.json ]] || cmake --preset $*
	@cmake --build --preset $*

demo: setup
	@$(BUILD_RUNNABLE)
	@tools/demo $(BITS)

test: all check-format
	@tools/test

test-all: all check-format
	@cmake --build --preset win64 --target bench
	@tools/test --all

package: build-win32 build-win64
	@cpack --preset win32 && cpack --preset win64

dist: build-win32 build-win64
	@tools/dist

fuzz: export FUZZ_SECONDS ?= 300
fuzz: build-fuzz
	@ctest --preset fuzz

screenshots: setup
	@$(BUILD_RUNNABLE)
	@tools/screenshots build/win$(BITS)

bench: build-bench
	@$(BUILD_RUNNABLE)
	@cmake --build --preset win$(BITS) --target bench
	@bench/run $(BITS)

torture: setup
	@$(BUILD_RUNNABLE)
	@tests/faults/torture.py build/win$(BITS) $(if $(ROUNDS),--rounds $(ROUNDS)) $(if $(SEED),--seed $(SEED))

coverage: build-coverage
	@find build/coverage -name '*.gcda' -delete
	@ctest --preset coverage
	@tools/coverage build/coverage .

# Without the test of what releases import, and that of a script whose engine under Wine hands over VARIANTs at any address.
undefined: build-undefined
	@ctest --preset undefined

format: setup
	@$(SOURCES) | xargs -0 clang-format -i

check-format: setup
	@$(SOURCES) | xargs -0 clang-format --dry-run -Werror

tidy: build-native build-win64
	@tools/tidy

clean:
	@tools/wine-server stop 2>/dev/null || true
	@rm -rf build
