# ORVO — the two commands a user needs are `make run` and `make test`.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
DATA_HOME  ?= $(or $(XDG_DATA_HOME),$(HOME)/.local/share)
REGION_DIR := $(DATA_HOME)/orvo/regions/monaco
DEMO       := data/demo/monaco-drive.nmea
# The places the demo drive goes through (scripts/make-demo-drive): its route, for guidance.
DEMO_ROUTE := 43.7299,7.4170;43.7365,7.4214;43.7394,7.4277;43.7445,7.4300
ORVO_ARGS  ?=

.PHONY: all setup build web region run test test-cpp test-tidy test-asan test-web bench clean

all: build web

setup:
	@scripts/setup

build: setup
	@cmake -S . -B $(BUILD) -G Ninja -DORVO_WERROR=ON >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

web: setup
	@if [ -f web/package.json ]; then npm --prefix web run --silent build; fi

# The bundled Monaco region: routing database, sea and map tiles, built once and again when the
# extract or the tile configuration (what goes into the tiles) is newer than it, or it lacks a part
# a newer ORVO keeps (the names of its streets).
REGION_INPUTS := data/regions/monaco.osm.pbf data/tilemaker/config.json data/tilemaker/process.lua
region: build
	@if [ ! -f $(REGION_DIR)/region.json ] || [ ! -f $(REGION_DIR)/names.tsv ] || \
	  [ -n "$$(find $(REGION_INPUTS) -newer $(REGION_DIR)/region.json)" ]; then \
	  XDG_DATA_HOME=$(DATA_HOME) $(BUILD)/orvo region import data/regions/monaco.osm.pbf --name monaco; fi

run: all region
	$(BUILD)/orvo --region monaco $(if $(wildcard $(DEMO)),--replay $(DEMO) --waypoints "$(DEMO_ROUTE)") $(ORVO_ARGS)

test: all region test-cpp test-tidy test-asan test-web test-crosscheck

test-cpp: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS) --timeout 300

# clang-tidy with the committed .clang-tidy over the C++ sources changed in the last TIDY_COMMITS
# commits, on two cores; any finding fails.
TIDY_COMMITS ?= 20
test-tidy: build
	@scripts/tidy-changed $(BUILD) $(TIDY_COMMITS)

# Address and undefined-behaviour sanitizers over the unit tests, and a short fuzzing run.
test-asan: setup
	@CC=clang CXX=clang++ cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DORVO_SANITIZE=ON -DORVO_FUZZ=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j $(JOBS)
	@cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 ctest --output-on-failure -j $(JOBS) --timeout 600 -E 'Browser|Region'
	@for fuzzer in $(ASAN_BUILD)/fuzz_*; do [ -x "$$fuzzer" ] || continue; \
	  echo "fuzzing $$fuzzer for 30 s"; mkdir -p $(ASAN_BUILD)/corpus-$$(basename $$fuzzer); \
	  $$fuzzer -max_total_time=30 -print_final_stats=0 $(ASAN_BUILD)/corpus-$$(basename $$fuzzer) tests/data/receivers \
	    2>$(ASAN_BUILD)/$$(basename $$fuzzer).log || { tail -50 $(ASAN_BUILD)/$$(basename $$fuzzer).log; exit 1; }; done

test-web: all region
	@if [ -f web/package.json ]; then ORVO_BINARY=$(abspath $(BUILD))/orvo npm --prefix web test; fi

# ORVO's magnetic declination against an independent WMM2025 implementation from npm.
test-crosscheck: build
	@ORVO_BINARY=$(abspath $(BUILD))/orvo node --test tools/crosscheck/

bench: setup
	@cmake -S . -B $(BUILD)-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVO_BENCH=ON >/dev/null
	@cmake --build $(BUILD)-bench -j $(JOBS) --target orvo_bench
	$(BUILD)-bench/orvo_bench

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(BUILD)-bench web/dist
