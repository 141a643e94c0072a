# make run   installs what is missing, builds and starts Marrowleaf
# make test  installs what is missing, builds and runs every test
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)

.PHONY: all deps configure build run test unit-test sanitizer-test integration-test bench format clean

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

bench: build
	@for b in bench/*; do [ -x "$$b" ] && echo "== $$b" && "$$b" $(BUILD); done

format:
	@find src tests bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
