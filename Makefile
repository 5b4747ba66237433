# The two commands of the README:
#   make demo   builds the library and runs the main example
#   make test   builds and runs every test: 64-bit, 32-bit (-m32) and
#               AddressSanitizer + UndefinedBehaviorSanitizer builds
# Also: make bench / make bench32 (Google Benchmark, 64-bit / 32-bit build),
# make bench-decoder (the example decoder against ffmpeg), make build (64-bit
# only), make fuzz (every libFuzzer target for FUZZ_SECONDS, then its coverage).

BUILD   ?= build
JOBS    ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE   ?= cmake
PACKAGES = cmake make g++ g++-multilib libgtest-dev libbenchmark-dev pkg-config

CONFIGURE = $(CMAKE) -S . -DCMAKE_BUILD_TYPE=Release -Wno-dev

.PHONY: all deps deps-bench install-missing build build-x64 build-x86 build-san test test-x64 test-x86 test-san deps32 demo bench bench32 bench-decoder bench-before bench-mpeg2dec clean
.PHONY: deps-fuzz build-fuzz build-fuzz-cov test-fuzz fuzz build-tsan test-tsan

all: build

# Installs whatever is missing from Debian's packages when run as root.
deps:
	@$(MAKE) --no-print-directory install-missing PKGS="$(PACKAGES)"

# The 32-bit benchmarks need Debian's i386 Google Benchmark: its two
# packages are unpacked into the build tree (not installed, so that the
# system keeps one libbenchmark-dev); the i386 architecture is added to dpkg
# when missing, to let apt fetch them.
BENCH32_DEPS = $(abspath $(BUILD))/deps32
deps32:
	@test -f $(BENCH32_DEPS)/usr/lib/i386-linux-gnu/cmake/benchmark/benchmarkConfig.cmake || { \
	  dpkg --print-foreign-architectures | grep -qx i386 || { \
	    if [ "$$(id -u)" != 0 ]; then echo "run as root to add the i386 architecture"; exit 1; fi; \
	    dpkg --add-architecture i386 && apt-get update -q || true; }; \
	  mkdir -p $(BENCH32_DEPS) && cd $(BENCH32_DEPS) && \
	  apt-get download libbenchmark-dev:i386 libbenchmark1debian:i386 && \
	  for d in *.deb; do dpkg-deb -x $$d .; done; }

# The decoder benchmark also needs ffmpeg and x264.
deps-bench:
	@$(MAKE) --no-print-directory install-missing PKGS="ffmpeg x264"

install-missing:
	@missing=""; for p in $(PKGS); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "installing:$$missing"; \
	    apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q $$missing; \
	  else echo "missing packages (run as root to install):$$missing"; exit 1; fi; \
	fi

build: build-x64

build-x64: deps
	$(CONFIGURE) -B $(BUILD)/x64 -DZUBVC_BENCH=ON
	$(CMAKE) --build $(BUILD)/x64 -j $(JOBS)

build-x86: deps
	$(CONFIGURE) -B $(BUILD)/x86 -DCMAKE_C_FLAGS=-m32 -DCMAKE_CXX_FLAGS=-m32 \
	  -DCMAKE_SHARED_LINKER_FLAGS=-m32 -DCMAKE_EXE_LINKER_FLAGS=-m32
	$(CMAKE) --build $(BUILD)/x86 -j $(JOBS)

build-san: deps
	$(CONFIGURE) -B $(BUILD)/san -DZUBVC_SANITIZE=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
	$(CMAKE) --build $(BUILD)/san -j $(JOBS)

test-x64: build-x64
	cd $(BUILD)/x64 && ctest --output-on-failure -j $(JOBS)

test-x86: build-x86
	cd $(BUILD)/x86 && ctest --output-on-failure -j $(JOBS)

test-san: build-san
	cd $(BUILD)/san && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS)

test: test-x64 test-x86 test-san test-fuzz test-tsan
	@echo "all configurations passed: x86-64, x86-32, sanitizers, fuzz replay, threads"

# ThreadSanitizer build: eight threads decode streams and call primitives at
# once (tests/test_threads.cpp); any report fails.
build-tsan: deps
	$(CONFIGURE) -B $(BUILD)/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_C_FLAGS=-fsanitize=thread -DCMAKE_CXX_FLAGS=-fsanitize=thread \
	  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread
	$(CMAKE) --build $(BUILD)/tsan -j $(JOBS) --target zubvc_tests

test-tsan: build-tsan
	cd $(BUILD)/tsan && TSAN_OPTIONS="halt_on_error=1 exitcode=66" tests/zubvc_tests --gtest_filter='Threads.*'


# libFuzzer targets (fuzz/README.md), built with Debian's clang: $(BUILD)/fuzz
# with ASan and UBSan (not recoverable), $(BUILD)/fuzz-cov with source-based
# coverage.  Clang-only warnings do not stop these builds.
FUZZ_SECONDS ?= 60
FUZZ_CONFIGURE = $(CMAKE) -S . -Wno-dev -DZUBVC_FUZZ=ON -DZUBVC_TESTS=OFF \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  "-DCMAKE_CXX_COMPILE_OBJECT=<CMAKE_CXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -Wno-error -o <OBJECT> -c <SOURCE>"

deps-fuzz: deps
	@$(MAKE) --no-print-directory install-missing PKGS="clang llvm libclang-rt-dev"

build-fuzz: deps-fuzz
	$(FUZZ_CONFIGURE) -B $(BUILD)/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZUBVC_SANITIZE=ON \
	  -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link
	$(CMAKE) --build $(BUILD)/fuzz -j $(JOBS) --target fuzz_targets

build-fuzz-cov: deps-fuzz
	$(FUZZ_CONFIGURE) -B $(BUILD)/fuzz-cov -DCMAKE_BUILD_TYPE=Release \
	  "-DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link -fprofile-instr-generate -fcoverage-mapping"
	$(CMAKE) --build $(BUILD)/fuzz-cov -j $(JOBS) --target fuzz_targets

# Every seed and regression input once through each target (a few seconds).
test-fuzz: build-fuzz
	bash fuzz/run.sh replay $(BUILD)/fuzz

fuzz: build-fuzz build-fuzz-cov
	nice bash fuzz/run.sh fuzz $(BUILD)/fuzz $(BUILD)/fuzz-cov $(FUZZ_SECONDS)

# Decodes the bundled sample streams with the example H.264 and MPEG-2
# decoders: frames, frames per second and the MD5 of the whole output; the
# pictures go to $(BUILD)/demo.yuv and $(BUILD)/demo_mpeg2.yuv.
DEMO_STREAM ?= tests/data/qcif_qp26.264
DEMO_MPEG2_STREAM ?= tests/data/mpeg2_mandel_b.m2v
demo: build-x64
	$(BUILD)/x64/examples/zubvc-info
	$(BUILD)/x64/examples/h264dec/zubvc-h264dec $(DEMO_STREAM) -o $(BUILD)/demo.yuv
	$(BUILD)/x64/examples/mpeg2dec/zubvc-mpeg2dec $(DEMO_MPEG2_STREAM) -o $(BUILD)/demo_mpeg2.yuv

bench: build-x64
	$(BUILD)/x64/bench/zubvc_bench --benchmark_min_time=0.2

# The same benchmarks in the 32-bit build.
bench32: build-x86 deps32
	$(CMAKE) -B $(BUILD)/x86 -DZUBVC_BENCH=ON -Dbenchmark_DIR=$(BENCH32_DEPS)/usr/lib/i386-linux-gnu/cmake/benchmark
	$(CMAKE) --build $(BUILD)/x86 -j $(JOBS) --target zubvc_bench
	$(BUILD)/x86/bench/zubvc_bench --benchmark_min_time=0.2

# The example decoder, 64-bit and 32-bit builds, against ffmpeg's plain C
# decoder on a 1280x720 baseline CAVLC stream (made on first use), RUNS
# alternating runs each.  With BEFORE=<commit> the decoders built from that
# commit (sources from git archive, under $(BUILD)/before) run in the same
# rounds, for the speed-up as a ratio measured side by side:
#   make bench-decoder BEFORE=speed-base RUNS=9
RUNS   ?= 5
BEFORE ?=
BEFORE_DIR = $(BUILD)/before
DECODER = examples/h264dec/zubvc-h264dec
bench-decoder: build-x64 build-x86 deps-bench $(if $(BEFORE),bench-before)
	sh bench/bench_h264dec.sh $(BUILD)/bench_720p.264 $(RUNS) \
	  x86-64=$(BUILD)/x64/$(DECODER)$(if $(BEFORE),$(comma)$(BEFORE_DIR)/x64/$(DECODER)) \
	  x86-32=$(BUILD)/x86/$(DECODER)$(if $(BEFORE),$(comma)$(BEFORE_DIR)/x86/$(DECODER))

comma := ,
bench-before:
	rm -rf $(BEFORE_DIR)/src && mkdir -p $(BEFORE_DIR)/src
	git archive $(BEFORE) | tar -x -C $(BEFORE_DIR)/src
	$(CMAKE) -S $(BEFORE_DIR)/src -B $(BEFORE_DIR)/x64 -DCMAKE_BUILD_TYPE=Release -DZUBVC_TESTS=OFF -Wno-dev
	$(CMAKE) --build $(BEFORE_DIR)/x64 -j $(JOBS) --target zubvc-h264dec
	$(CMAKE) -S $(BEFORE_DIR)/src -B $(BEFORE_DIR)/x86 -DCMAKE_BUILD_TYPE=Release -DZUBVC_TESTS=OFF -Wno-dev \
	  -DCMAKE_C_FLAGS=-m32 -DCMAKE_CXX_FLAGS=-m32 -DCMAKE_SHARED_LINKER_FLAGS=-m32 -DCMAKE_EXE_LINKER_FLAGS=-m32
	$(CMAKE) --build $(BEFORE_DIR)/x86 -j $(JOBS) --target zubvc-h264dec

# The MPEG-2 decoder in the same rounds against ffmpeg on a 1280x720 MPEG-2
# stream with B-frames (300 frames of testsrc2, made on first use).
bench-mpeg2dec: build-x64 deps-bench
	test -f $(BUILD)/bench_720p.m2v || ffmpeg -loglevel error -f lavfi -i testsrc2=size=1280x720:rate=25 \
	  -frames:v 300 -pix_fmt yuv420p -c:v mpeg2video -bf 2 -g 15 -b:v 6M -f mpeg2video $(BUILD)/bench_720p.m2v
	sh bench/bench_h264dec.sh $(BUILD)/bench_720p.m2v $(RUNS) x86-64=$(BUILD)/x64/examples/mpeg2dec/zubvc-mpeg2dec

clean:
	rm -rf $(BUILD)
