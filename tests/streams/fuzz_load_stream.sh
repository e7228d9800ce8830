#!/bin/sh
# Fuzzes __rofLoadStreamF with libFuzzer under ASan and UBSan from the kept corpus, and keeps
# the inputs that reach new code in it (streams_tests loads them all); regress_* files stay.
#   tests/streams/fuzz_load_stream.sh [seconds]      (default 300)
set -eu
cd "$(dirname "$0")/../.."
out=build/fuzz
mkdir -p "$out/work"
clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined \
  -I. -Iinclude -DQOR_BUILDING_LIBRARY \
  tests/streams/load_stream_fuzzer.cc streams/*.cc generators/*.cc core/*.cc \
  -o "$out/load_stream_fuzzer" -lpthread
corpus=tests/streams/load_stream_corpus
ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
  "$out/load_stream_fuzzer" -max_total_time="${1:-300}" -max_len=6000 -rss_limit_mb=2048 \
  -malloc_limit_mb=4096 -artifact_prefix="$out/" "$out/work" "$corpus"
# Keep a minimal set that covers what the run reached.
mkdir -p "$out/min"
rm -f "$out/min"/*
ASAN_OPTIONS=allocator_may_return_null=1 \
  "$out/load_stream_fuzzer" -merge=1 "$out/min" "$corpus" "$out/work"
find "$corpus" -type f ! -name "regress_*" -delete
cp "$out/min"/* "$corpus"/
