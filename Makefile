# Every target sets up what it needs and takes TARGET=i386, the product as it ships, or
# TARGET=native; TARGET=dev is the latter compiled faster, for the work on it. The trees are
# build/i386, build/native, build/dev, build/asan, build/coverage, build/bench, build/fuzz.

ifeq ($(origin TARGET), undefined)
TARGET := $(shell scripts/target)
endif
JOBS ?= $(shell nproc)
CONFIG ?= examples/leaf.json
PREFIX ?= /usr/local
FUZZ_SECONDS ?= 60
BENCH_SIZES ?= 1000,10000,65000
comma := ,
FUZZ ?= $(notdir $(wildcard fuzz/corpus/*))

tree = build/$(TARGET)
# Configured once; after that the build itself sees when the CMake files change.
configure = [ -e $(tree)/build.ninja ] || \
	cmake --preset $(TARGET) $(CMAKE_OPTIONS) >build/$(TARGET).log || \
	{ cat build/$(TARGET).log; exit 1; }
# One at a time in each tree: a second build waits, and then has nothing left to do.
build = flock build/$(TARGET).lock sh -c '$(configure) && cmake --build $(tree) -j $(JOBS) $(1)'

.DEFAULT_GOAL := help
.PHONY: help setup build run test check lint coverage bench floor fuzz mutants install uninstall package clean

help:
	@echo "make build     the library and kvnsim into build/$(TARGET)"
	@echo "make run       build, then bring up the switch of $(CONFIG)"
	@echo "make test      build and run every test"
	@echo "make check     the tests of every build, with sanitizers, then lint"
	@echo "make lint      formatting, headers on their own, shellcheck and clang-tidy"
	@echo "make coverage  which lines the tests execute, as pages in build/coverage/report"
	@echo "make bench     measure switches of 1,000 to 65,000 interfaces: their life, limits, each verb"
	@echo "make floor     count the library's instructions beside those of its calls alone"
	@echo "make fuzz      feed the readers FUZZ=... (all) for FUZZ_SECONDS=$(FUZZ_SECONDS) each"
	@echo "make mutants   change the library in one place at a time: do its tests notice?"
	@echo "make install   library, headers and kvnsim into PREFIX=$(PREFIX)"
	@echo "make uninstall remove from PREFIX what make install put there"
	@echo "make package   the same as Debian packages and an archive in build/$(TARGET)/packages"
	@echo "make clean     remove what was built; what was downloaded stays"
	@echo
	@echo "Each takes TARGET=i386 (the product as it ships), TARGET=native, or TARGET=dev, which"
	@echo "compiles faster; here: $(TARGET)."

setup:
	@scripts/setup build $(TARGET)

build: setup
	@$(call build,--target product)

run: build
	@$(tree)/bin/kvnsim run $(CONFIG)

test: setup
	@$(call build)
	@ctest --test-dir $(tree) -j $(JOBS) --output-on-failure --no-tests=error \
	    --output-junit tests.xml

check:
	@scripts/check

lint:
	@scripts/setup check native
	@$(MAKE) --no-print-directory build TARGET=native
	@scripts/lint

coverage:
	@scripts/setup coverage native
	@$(MAKE) --no-print-directory test TARGET=coverage
	@mkdir -p build/coverage/report
	@gcovr --root . --filter l3lif/ --filter sim/ --object-directory build/coverage \
	    --html-details build/coverage/report/index.html
	@echo "The library: all of its lines and branches"
	@gcovr --root . --filter l3lif/ --object-directory build/coverage/l3lif build/coverage/l3lif \
	    --output build/coverage/library.txt --print-summary --fail-under-line 100 --fail-under-branch 100
	@echo "kvnsim: 95 of 100 lines"
	@gcovr --root . --filter sim/ --object-directory build/coverage build/coverage \
	    --output build/coverage/kvnsim.txt --print-summary --fail-under-line 95

bench:
	@scripts/setup bench native
	@$(MAKE) --no-print-directory bench-targets TARGET=bench
	@mkdir -p build/bench/switches
	@for count in $(subst $(comma), ,$(BENCH_SIZES)); do \
	    python3 -B bench/configuration.py $$count build/bench/switches/$$count.json || exit; done
	@build/bench/bin/bench/bench_switch \
	    $(patsubst %,build/bench/switches/%.json,$(subst $(comma), ,$(BENCH_SIZES)))
	@bench/limits.sh build/bench
	@python3 -B bench/verbs.py build/bench/bin/kvnsim $(BENCH_SIZES) build/bench/verbs \
	    $(if $(KVN_UPDATE_DOCS),docs)

# In the trees of the tests: what is counted is the library as it ships.
FLOOR ?=
floor:
	@scripts/setup bench native
	@for target in native $(filter i386,$(TARGET)); do \
	    $(MAKE) --no-print-directory setup floor-targets TARGET=$$target || exit; done
	@bench/floor/measure $(FLOOR) build/native $(if $(filter i386,$(TARGET)),build/i386)

fuzz:
	@scripts/setup fuzz native
	@$(MAKE) --no-print-directory fuzz-targets TARGET=fuzz
	@scripts/fuzz $(FUZZ_SECONDS) $(FUZZ)

mutants:
	@scripts/setup bench native
	@$(MAKE) --no-print-directory mutants-targets TARGET=native
	@tests/lib/mutants.py --jobs $(JOBS) build/native

.PHONY: bench-targets mutants-targets floor-targets fuzz-targets
mutants-targets:
	@$(call build,--target lib_test lib_interpose_test lib_objects_test)
floor-targets:
	@$(call build,--target floor)
bench-targets:
	@$(call build,--target bench_switch --target bench_limits --target kvnsim)
fuzz-targets:
	@$(call build,--target $(FUZZ:=_fuzz))

install: build
	@scripts/install $(tree) "$(PREFIX)"

uninstall:
	@scripts/uninstall "$(PREFIX)"

package: build
	@scripts/setup package $(TARGET)
	@scripts/package $(tree)

clean:
	@for tree in i386 native dev asan coverage bench fuzz; do rm -rf build/$$tree build/$$tree.log; done
