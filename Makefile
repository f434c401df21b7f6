# Convenience entry points. `make bench` and `make test` do the whole set-up on a
# fresh Debian machine: they install the packages, build and run.

BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= 2
CORPUS     ?= $(abspath ../shared/corpus/calgary)
RESULTS    ?= $(abspath results)
CORPUS_URL ?= https://corpus.canterbury.ac.nz/resources/calgary.tar.gz

PACKAGES = cmake make g++ pkg-config libgtest-dev zlib1g-dev libbz2-dev \
           liblzo2-dev libdeflate-dev libdivsufsort-dev \
           libcli11-dev libfmt-dev
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps build bench test test-plain test-sanitize corpus clean

all: build

deps:
	@missing=""; for p in $(PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -q && DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -q --no-install-recommends $$missing; \
	fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DPERFDC_CORPUS_DIR=$(CORPUS)
	cmake --build $(BUILD) -j$(JOBS)

# The benchmark: every registered test in batch mode; the table, summary and
# listing go to $(RESULTS).
bench: build
	@mkdir -p $(RESULTS)
	@if [ ! -d "$(CORPUS)" ]; then echo "Corpus folder $(CORPUS) not found: the compression tests will report missing files (run 'make corpus' and pass CORPUS=$(abspath corpus))"; fi
	$(BUILD)/bin/perfdc -B -LPERF -l$(RESULTS) -nperfdc -r -u -o -p$(CORPUS)/
	@echo
	@echo "Results written to $(RESULTS):"
	@ls -1 $(RESULTS)

test: test-plain test-sanitize

test-plain: build
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The same suites built with the address and undefined-behaviour sanitizers.
test-sanitize: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DPERFDC_SANITIZE=address,undefined \
	      -DPERFDC_BUILD_TOOLS=OFF -DPERFDC_CORPUS_DIR=$(CORPUS)
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && ctest --output-on-failure -j$(JOBS)

# Downloads the Calgary corpus into ./corpus and checks every file against
# tools/corpus/SHA256SUMS. Use it with: make bench CORPUS=$(abspath corpus)
corpus:
	@mkdir -p corpus
	cd corpus && curl -fL --retry 3 -o calgary.tar.gz $(CORPUS_URL) && tar xzf calgary.tar.gz && rm -f calgary.tar.gz
	cd corpus && sha256sum -c ../tools/corpus/SHA256SUMS
	@echo "Corpus ready in $(abspath corpus)"

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
