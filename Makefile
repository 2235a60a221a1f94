# make          build everything
# make demo     two installations exchange packets, through a folder and an FTP server (BITS=64 for the 64-bit build)
# make test     all tests
# make fuzz     the portable parts under random input (FUZZ_SECONDS=300 each, 20 in the tests)
# make screenshots  pictures of the dialogs
# make bench    the library and the companion programs beside others of their kind
# make format   clang-format;  make tidy   clang-tidy

SHELL := /bin/bash
.DELETE_ON_ERROR:

# Which Windows builds run here; tools/setup finds out.
RUNNABLE = $(or $(shell cat build/setup/bits 2>/dev/null),64)
BITS ?= $(lastword $(RUNNABLE))
WARM = tools/wine-server run
SOURCES = git ls-files -z --cached --others --exclude-standard -- '*.cpp' '*.h'

.PHONY: all setup demo test screenshots fuzz bench format check-format tidy clean
.NOTPARALLEL:

all: build-native build-fuzz build-win32 build-win64

setup:
	@tools/setup

build-%: setup
	@[[ -f build/$*/build.ninja ]] || cmake --preset $* >build/configure-$*.log || { cat build/configure-$*.log; false; }
	@cmake --build build/$*

# What runs here is known only after the set-up, too late for a list of prerequisites.
BUILD_RUNNABLE = $(MAKE) --no-print-directory build-win$(BITS)

demo: setup
	@$(BUILD_RUNNABLE)
	@$(WARM) tools/demo $(BITS)

test: all check-format
	@$(WARM) tools/test
	@tools/screenshots $(BITS)

screenshots: setup
	@$(BUILD_RUNNABLE)
	@tools/screenshots $(BITS)

fuzz: export FUZZ_SECONDS ?= 300
fuzz: build-fuzz
	@ctest --test-dir build/fuzz --output-on-failure -j 2

bench: build-native
	@$(BUILD_RUNNABLE)
	@$(WARM) bench/run $(BITS)

format: setup
	@$(SOURCES) | xargs -0 clang-format -i

check-format: setup
	@$(SOURCES) | xargs -0 clang-format --dry-run -Werror

tidy: all
	@tools/tidy

clean:
	@tools/wine-server stop 2>/dev/null || true
	@rm -rf build
