# The front door. Each target installs the Debian packages that it misses, builds what has changed,
# and does its work; the building itself is CMake's (CMakeLists.txt, CMakePresets.json).

OCTAVE ?= on
JOBS ?= $(shell nproc)

# `make test PRESET=ci`: warnings are errors.
PRESET ?= release

install := scripts/install-packages
ifeq ($(OCTAVE),off)
  octave_option := OFF
else
  octave_option := ON
endif

# $(call configure,preset,options). The generator counts only for a folder's first configuration.
configure = CMAKE_GENERATOR=$$(command -v ninja >/dev/null && echo Ninja || echo "Unix Makefiles") \
  cmake --preset $(1) $(2) >/dev/null
compile = cmake --build build/$(1) --parallel $(JOBS)

# What is left to do by hand.
say_path = echo "In Octave: addpath ('$(CURDIR)/build/toolbox'); savepath keeps it for later sessions."

.PHONY: help
help:
	@echo "make demo     the field of a focused array, computed and drawn in GNU Octave"
	@echo "make test     all tests, C++ and Octave (make test OCTAVE=off: C++ only)"
	@echo "make toolbox  the toolbox folder to add to the Octave path: build/toolbox"
	@echo "make bench    the benchmarks"
	@echo "make docs     measure docs/accuracy.md and its figures again"
	@echo "make validate measure the tables of docs/nonlinear.md and docs/pulses.md again, and tolerances (minutes)"
	@echo "make asan     the C++ tests under the address and undefined-behaviour sanitizers"
	@echo "make tsan     the C++ tests of what runs in threads, under the thread sanitizer"
	@echo "make fuzz     made-up calls of each plug-in for FUZZ_SECONDS, guided; make fuzz-random: at random"
	@echo "make clang    the C++ tests built with clang, warnings as errors"
	@echo "make cross    the C++ tests for 64-bit ARM under qemu, and for Windows under wine"
	@echo "make dev      the C++ tests for daily work: Debug, sanitizers, warnings as errors"
	@echo "make format   reformat the C++ sources; make tidy: look for faults in them"
	@echo "make check-changes  the layout of all sources, clang-tidy on the lines that changed (BASE=commit)"
	@echo "make clean    remove everything built"
	@test ! -d build/toolbox || $(say_path)

.PHONY: toolbox
toolbox:
	@$(install) build octave
	@$(call configure,release,-DKESTREL_OCTAVE=ON)
	@$(call compile,release) --target toolbox
	@$(say_path)

.PHONY: demo
demo: toolbox
	@mkdir -p build/demo
	@cd build/demo && LC_ALL=C.UTF-8 octave-cli --norc --no-history --quiet \
	  --path $(CURDIR)/examples --path $(CURDIR)/build/toolbox --eval first_field

.PHONY: test
ifeq ($(OCTAVE),off)
test:
	@$(install) --try build test
else
test:
	@$(install) build test octave valgrind
endif
	@$(call configure,$(PRESET),-DKESTREL_OCTAVE=$(octave_option) -DKESTREL_TESTS=ON)
	@$(call compile,$(PRESET))
	@ctest --preset $(PRESET) --parallel $(JOBS)

.PHONY: bench
bench:
	@$(install) build bench
	@$(call configure,release,-DKESTREL_BENCH=ON)
	@$(call compile,release) --target bench

.PHONY: docs
docs:
	@$(install) build docs
	@$(call configure,release)
	@$(call compile,release) --target docs

.PHONY: validate
validate:
	@$(install) build
	@$(call configure,release)
	@$(call compile,release) --target validate

.PHONY: asan tsan dev clang
asan tsan dev clang:
	@$(install) build test $(filter clang,$@)
	@$(call configure,$@)
	@$(call compile,$@)
	@ctest --preset $@ --parallel $(JOBS)

# Made-up calls of each plug-in: by libFuzzer, which keeps what reaches new code in build/fuzz/corpus
# (`make fuzz FUZZ_SECONDS=3600` for as long as one likes), or at random under the sanitizers.
FUZZ_SECONDS ?= 60
FUZZ_SEED ?= 1
FUZZ_PLUGINS := $(patsubst tests/fuzz/%_fuzz.cpp,%,$(wildcard tests/fuzz/*_fuzz.cpp))
.PHONY: fuzz
fuzz:
	@$(install) build test clang
	@$(call configure,fuzz)
	@$(call compile,fuzz) --target $(addprefix fuzz_,$(FUZZ_PLUGINS))
	@for plugin in $(FUZZ_PLUGINS); do \
	  mkdir -p build/fuzz/corpus/$$plugin && \
	  build/fuzz/tests/fuzz_$$plugin -max_total_time=$(FUZZ_SECONDS) -max_len=512 -rss_limit_mb=4096 \
	    -artifact_prefix=build/fuzz/ build/fuzz/corpus/$$plugin || exit 1; \
	done

.PHONY: fuzz-random
fuzz-random:
	@$(install) build test
	@$(call configure,asan)
	@$(call compile,asan) --target $(addprefix fuzz_,$(FUZZ_PLUGINS))
	@printf '%s\n' $(FUZZ_PLUGINS) | xargs -P $(JOBS) -I {} env \
	  build/asan/tests/fuzz_{} --seconds $(FUZZ_SECONDS) --seed $(FUZZ_SEED)

# What cannot run is said, not failed: wine does not start everywhere (in some containers, say).
.PHONY: cross
cross: cross-aarch64 cross-windows
.PHONY: cross-aarch64
cross-aarch64:
	@$(install) build cross
	@$(call configure,aarch64)
	@$(call compile,aarch64)
	@ctest --preset aarch64 --parallel $(JOBS)

.PHONY: cross-windows
cross-windows: export WINEPREFIX := $(CURDIR)/build/wine
cross-windows: export WINEDEBUG := -all
cross-windows:
	@$(install) build cross
	@$(install) --try wine
	@$(call configure,windows)
	@$(call compile,windows)
	@# wine's own processes are started first and stay: begun by a test, they would hold its output
	@# open, and ctest would wait for them.
	@if (wineserver --persistent && wine cmd /c ver) </dev/null >/dev/null 2>&1; then \
	  ctest --preset windows --parallel $(JOBS); status=$$?; wineserver --kill; exit $$status; \
	else \
	  echo "Built for Windows in build/windows; its tests were NOT RUN: wine does not start here."; \
	fi

sources = $(shell git ls-files '*.h' '*.cpp')

.PHONY: format tidy
format:
	@$(install) tidy
	@clang-format -i $(sources)
tidy:
	@$(install) build test tidy clang
	@$(call configure,clang)
	@run-clang-tidy -quiet -p build/clang -j $(JOBS)

# The layout of all sources, and clang-tidy on the lines that have changed.
.PHONY: check-changes
check-changes:
	@$(install) build test tidy clang
	@$(call configure,clang)
	@scripts/check-changes build/clang $(BASE)

.PHONY: clean
clean:
	rm -rf build
