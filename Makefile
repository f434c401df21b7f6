# Convenience entry points. `make bench` and `make test` do the whole set-up on a
# fresh Debian machine: they install the packages, build and run.

BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
JOBS       ?= 2
CORPUS     ?= $(abspath ../shared/corpus/calgary)
RESULTS    ?= $(abspath results)
ROUNDS     ?= 3
CORPUS_URL ?= https://corpus.canterbury.ac.nz/resources/calgary.tar.gz
LOCAL_CORPUS = $(abspath corpus)
CORPUS_FILES = bib book1 book2 geo news obj1 obj2 paper1 paper2 pic progc progl progp trans
# Shell test: the folder holds every corpus file the benchmark reads.
corpus_complete = (for f in $(CORPUS_FILES); do [ -f "$(1)/$$f" ] || exit 1; done)

PACKAGES = cmake make g++ pkg-config libgtest-dev zlib1g-dev libbz2-dev \
           liblzo2-dev libdeflate-dev libdivsufsort-dev libisal-dev \
           libcli11-dev libfmt-dev nlohmann-json3-dev curl ca-certificates
# Only the tests need these: headless Chromium opens the report tool's page, Google
# Benchmark's compare.py (with Debian's python3 and scipy) reads its JSON, and the fuzz
# targets' regression replays take clang's FuzzedDataProvider header.
TEST_PACKAGES = chromium libbenchmark-tools python3 python3-scipy libclang-rt-14-dev
# 'make fuzz': clang with libFuzzer.
FUZZ_PACKAGES = clang libclang-rt-14-dev
FUZZ_BUILD   ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?=
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps test-deps install-packages build bench bench-rounds test test-plain test-sanitize test-thread fuzz corpus clean

all: build

deps:
	@$(MAKE) --no-print-directory install-packages LIST="$(PACKAGES)"

test-deps: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(TEST_PACKAGES)"

install-packages:
	@missing=""; for p in $(LIST); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -q && DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -q --no-install-recommends $$missing; \
	fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DPERFDC_CORPUS_DIR=$(CORPUS)
	cmake --build $(BUILD) -j$(JOBS)

# The benchmark: every registered test in batch mode, ROUNDS times over, each round
# appended to the same table (the first one starts it afresh); then the report's
# per-function summary of the table: the best figure and the spread of the rounds.
# The table, summary and listing go to $(RESULTS). The corpus is the one beside
# the project when it is complete, else the one in ./corpus, else it is downloaded
# first ('make corpus').
bench: bench-rounds build
	@mkdir -p $(RESULTS)
	@dir="$(CORPUS)"; \
	if ! $(call corpus_complete,$$dir); then \
	  dir="$(LOCAL_CORPUS)"; \
	  if ! $(call corpus_complete,$$dir); then \
	    echo "No complete Calgary corpus in $(CORPUS) or $(LOCAL_CORPUS): downloading it"; \
	    $(MAKE) --no-print-directory corpus || exit 1; \
	  fi; \
	fi; \
	echo "Corpus: $$dir"; \
	for round in $$(seq 1 $(ROUNDS)); do \
	  echo "Round $$round of $(ROUNDS)"; \
	  if [ $$round = 1 ]; then files="-r -u -o"; else files="-R -U -O"; fi; \
	  $(BUILD)/bin/perfdc -B -LPERF -l$(RESULTS) -nperfdc $$files -p$$dir/ || exit 1; \
	done
	@echo
	@$(BUILD)/bin/perfdc-report --functions $(RESULTS)/perfdc.csv
	@echo
	@echo "Results written to $(RESULTS):"
	@ls -1 $(RESULTS)

bench-rounds:
	@case "$(ROUNDS)" in ''|*[!0-9]*|0) echo "ROUNDS=$(ROUNDS): give a whole number of rounds, 1 or more"; exit 2;; esac

test: test-plain test-sanitize test-thread

test-plain: build test-deps
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The same suites built with the address and undefined-behaviour sanitizers.
test-sanitize: test-deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DPERFDC_SANITIZE=address,undefined \
	      -DPERFDC_BUILD_TOOLS=OFF -DPERFDC_CORPUS_DIR=$(CORPUS)
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && ctest --output-on-failure -j$(JOBS)

# The LZO worker pool under the thread sanitizer (data races, lock order, fork, busy
# pool): only the lum libraries and the LZO test program are built.
test-thread: test-deps
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPERFDC_SANITIZE=thread \
	      -DPERFDC_BUILD_TOOLS=OFF -DPERFDC_CORPUS_DIR=$(CORPUS)
	cmake --build $(TSAN_BUILD) -j$(JOBS) --target lum_lzo_tests
	cd $(TSAN_BUILD) && ctest --output-on-failure -j$(JOBS) -R '^lum\.lzo\.LzoPool\.'

# The fuzz targets of fuzz/ with clang, libFuzzer and the sanitizers, each run for
# FUZZ_SECONDS (all of them, or those named in FUZZ_TARGETS); findings go to fuzz/findings.
fuzz: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(FUZZ_PACKAGES)"
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	      -DCMAKE_CXX_COMPILER=clang++ -DPERFDC_FUZZ=ON -DPERFDC_BUILD_TESTS=OFF -DPERFDC_BUILD_TOOLS=OFF \
	      -DPERFDC_SANITIZE=fuzzer-no-link,address,undefined -DPERFDC_CORPUS_DIR=$(CORPUS)
	cmake --build $(FUZZ_BUILD) -j$(JOBS) --target fuzz_all
	fuzz/run.sh $(abspath $(FUZZ_BUILD)) $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# Downloads the Calgary corpus into ./corpus and checks every file against
# tools/corpus/SHA256SUMS. 'make bench' uses it when the corpus beside the project
# is not there; it can also be named: make bench CORPUS=$(abspath corpus)
corpus:
	@mkdir -p $(LOCAL_CORPUS)
	@cd $(LOCAL_CORPUS) && if ! curl -fsSL --retry 3 --connect-timeout 20 -o calgary.tar.gz $(CORPUS_URL); then \
	  rm -f calgary.tar.gz; \
	  echo "Cannot download the Calgary corpus from $(CORPUS_URL) (no network?)."; \
	  echo "Put its 14 files (bib book1 ... trans) in a folder and run: make bench CORPUS=<folder>"; \
	  exit 1; \
	fi
	@cd $(LOCAL_CORPUS) && tar xzf calgary.tar.gz && rm -f calgary.tar.gz
	@cd $(LOCAL_CORPUS) && sha256sum -c --quiet $(abspath tools/corpus/SHA256SUMS) || \
	  { echo "The downloaded corpus does not match tools/corpus/SHA256SUMS"; exit 1; }
	@echo "Corpus ready in $(LOCAL_CORPUS)"

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) $(FUZZ_BUILD)
