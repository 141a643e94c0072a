# make run   installs what is missing, builds and starts Marrowleaf
# make test  installs what is missing, builds and runs every test
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 600
JOBS       ?= $(shell nproc)

.PHONY: all deps configure build run test unit-test sanitizer-test integration-test fuzz bench format clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null

build: configure
	@cmake --build $(BUILD) -j$(JOBS)

run: build
	./$(BUILD)/marrowleaf

# The portable core's unit tests once more, under AddressSanitizer and UndefinedBehaviorSanitizer.
sanitizer-test: deps
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DMARROWLEAF_CORE_ONLY=ON -DMARROWLEAF_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && ctest -L unit -j$(JOBS) --output-on-failure

unit-test: build
	cd $(BUILD) && ctest -L unit -j$(JOBS) --output-on-failure

integration-test: build
	cd $(BUILD) && ctest -L integration --output-on-failure

test: sanitizer-test build
	cd $(BUILD) && ctest -j$(JOBS) --output-on-failure

# Each decoder's fuzzer for FUZZ_SECONDS, one after another, built with clang.
# A fuzzer grows a copy of its corpus, $(FUZZ_BUILD)/corpus/<name>/, so the
# committed seeds in tests/fuzz/corpus/<name>/ stay as they are; the inputs it
# crashes on land in $(FUZZ_BUILD)/findings/<name>/. A crash input joins the
# committed corpus once its bug is fixed, and make test replays it from then on.
fuzz:
	@bash scripts/install-deps.sh --fuzz
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DMARROWLEAF_CORE_ONLY=ON -DMARROWLEAF_FUZZ=ON >/dev/null
	@cmake --build $(FUZZ_BUILD) --target fuzzers -j$(JOBS)
	@status=0; for target in state-file:StateFile note-file:NoteFile page-message:PageMessage; do \
		name=$${target%%:*}; \
		mkdir -p $(FUZZ_BUILD)/corpus/$$name $(FUZZ_BUILD)/findings/$$name; \
		cp -n tests/fuzz/corpus/$$name/* $(FUZZ_BUILD)/corpus/$$name/; \
		echo "== $$name: $(FUZZ_SECONDS) s, findings in $(FUZZ_BUILD)/findings/$$name/"; \
		nice -n 10 ./$(FUZZ_BUILD)/fuzz_$${target##*:} -max_total_time=$(FUZZ_SECONDS) \
			-artifact_prefix=$(FUZZ_BUILD)/findings/$$name/ $(FUZZ_BUILD)/corpus/$$name || status=1; \
	done; exit $$status

bench: build
	@for b in bench/*; do [ -x "$$b" ] && echo "== $$b" && "$$b" $(BUILD); done

format:
	@find src tests bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
