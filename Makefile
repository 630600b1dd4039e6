# Two commands do everything on a fresh Debian bookworm machine: `make run` and `make test`.
BUILD   ?= build
ASAN    ?= build-asan
JOBS    ?= 2
CMAKE_FLAGS ?= -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: setup configure build run test bench asan screenshots clean

setup:
	@./scripts/setup

$(BUILD)/build.ninja: CMakeLists.txt
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null

configure: setup $(BUILD)/build.ninja

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	@$(BUILD)/src/app/quorvane

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench: build
	@for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

asan: setup
	@cmake -S . -B $(ASAN) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQUORVANE_SANITIZE=ON -DQUORVANE_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(ASAN) -j $(JOBS)
	@cd $(ASAN) && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

screenshots: build
	@./scripts/screenshots $(BUILD)

clean:
	@rm -rf $(BUILD) $(ASAN)
