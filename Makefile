# The two commands of the README:
#   make demo   builds the library and runs the main example
#   make test   builds and runs every test: 64-bit, 32-bit (-m32) and
#               AddressSanitizer + UndefinedBehaviorSanitizer builds
# Also: make bench (64-bit Google Benchmark run), make build (64-bit only),
# make fuzz (every libFuzzer target for FUZZ_SECONDS, then its coverage).

BUILD   ?= build
JOBS    ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE   ?= cmake
PACKAGES = cmake make g++ g++-multilib libgtest-dev libbenchmark-dev pkg-config

CONFIGURE = $(CMAKE) -S . -DCMAKE_BUILD_TYPE=Release -Wno-dev

.PHONY: all deps deps-bench install-missing build build-x64 build-x86 build-san test test-x64 test-x86 test-san demo bench bench-decoder bench-mpeg2dec clean
.PHONY: deps-fuzz build-fuzz build-fuzz-cov test-fuzz fuzz

all: build

# Installs whatever is missing from Debian's packages when run as root.
deps:
	@$(MAKE) --no-print-directory install-missing PKGS="$(PACKAGES)"

# The decoder benchmark also needs ffmpeg (with libx264) and bc.
deps-bench:
	@$(MAKE) --no-print-directory install-missing PKGS="ffmpeg bc"

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

test: test-x64 test-x86 test-san test-fuzz
	@echo "all configurations passed: x86-64, x86-32, sanitizers, fuzz replay"

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

# The example decoder against ffmpeg's plain C decoder on a 1280x720 CAVLC
# stream (installs ffmpeg and bc when run as root; the stream is made on
# first use).
bench-decoder: build-x64 deps-bench
	sh bench/bench_h264dec.sh $(BUILD)/x64/examples/h264dec/zubvc-h264dec $(BUILD)/bench_720p.264

# The same for the MPEG-2 decoder on a 1280x720 stream with B-frames.
bench-mpeg2dec: build-x64 deps-bench
	sh bench/bench_h264dec.sh $(BUILD)/x64/examples/mpeg2dec/zubvc-mpeg2dec $(BUILD)/bench_720p.m2v mpeg2

clean:
	rm -rf $(BUILD)
