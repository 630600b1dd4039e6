# Two commands do everything on a fresh Debian bookworm machine: `make run` and `make test`.
BUILD   ?= build
ASAN    ?= build-asan
JOBS    ?= 2
CMAKE_FLAGS ?= -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

FUZZ    ?= build-fuzz
FUZZ_SECONDS ?= 600
FUZZ_TARGETS = fuzz_stripe_page fuzz_paypal_page fuzz_accounts fuzz_preferences fuzz_feed fuzz_achievements fuzz_sync_state \
  fuzz_remote_version fuzz_icon_links

.PHONY: setup configure build run test package bench asan fuzz screenshots clean

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

# The Debian package, here at the top: `sudo apt install ./quorvane_*.deb`.
package: build
	@cd $(BUILD) && { cpack -G DEB >cpack.log 2>&1 || { cat cpack.log; exit 1; }; }
	@mv $(BUILD)/quorvane_*.deb . && ls quorvane_*.deb

bench: build
	@for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

asan: setup
	@cmake -S . -B $(ASAN) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQUORVANE_SANITIZE=ON -DQUORVANE_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(ASAN) -j $(JOBS)
	@cd $(ASAN) && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

# Each decoder of outside input under libFuzzer for FUZZ_SECONDS, one after another, from a
# corpus seeded with the tests' bodies; crashes land in $(FUZZ)/crashes. Not part of `test`.
fuzz: setup
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ) -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUORVANE_FUZZ=ON \
	  -DQUORVANE_BUILD_APP=OFF -DQUORVANE_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(FUZZ) -j $(JOBS) --target $(FUZZ_TARGETS) fuzz_seed_corpus
	@mkdir -p $(FUZZ)/crashes && $(FUZZ)/fuzz/fuzz_seed_corpus $(FUZZ)/corpus
	@set -e; for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ)/corpus/$$t; \
	  echo "fuzz: $$t for $(FUZZ_SECONDS) s"; \
	  ASAN_OPTIONS=detect_leaks=0 $(FUZZ)/fuzz/$$t -max_total_time=$(FUZZ_SECONDS) -max_len=65536 -timeout=10 -rss_limit_mb=4096 \
	    -artifact_prefix=$(FUZZ)/crashes/$$t- -print_final_stats=1 $(FUZZ)/corpus/$$t 2>$(FUZZ)/$$t.log \
	    || { tail -40 $(FUZZ)/$$t.log; exit 1; }; \
	  grep -E '^stat::number_of_executed_units' $(FUZZ)/$$t.log; \
	done

screenshots: build
	@./scripts/screenshots $(BUILD)

clean:
	@rm -rf $(BUILD) $(ASAN)
