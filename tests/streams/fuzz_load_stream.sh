#!/bin/sh
# Fuzzes __rofLoadStreamF with libFuzzer under ASan and UBSan, starting from well-formed
# images of every built generator, and keeps the inputs that reach new code in
# tests/streams/load_stream_corpus (the regression test of streams_tests loads them all);
# files named regress_* are inputs that once crashed or leaked, and stay.
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
python3 - "$corpus" <<'PY'
import os, struct, sys
corpus = sys.argv[1]
generators = {0x100000: 8, 0x400000: 16, 0x800000: 2504, 0x900002: 296}
def image(brng, payload, chunks):
    h = struct.pack('<II I I I i', 2, 0x474E52, 24, payload, len(chunks), brng)
    body = bytes((i * 37) & 255 for i in range(payload))
    for cid, size in chunks:
        body += struct.pack('<I16si', cid, bytes(16), size) + bytes([cid]) * size
    return h + body
for brng, payload in generators.items():
    for k, chunks in enumerate([[], [(5, 10), (7, 3)]]):
        with open(os.path.join(corpus, 'seed_%x_%d' % (brng, k)), 'wb') as f:
            f.write(image(brng, payload, chunks))
legacy = b'RNG\0' + bytes([2]) + bytes(5) + struct.pack('<HHHi', 8, 0, 0, 0x100000) + bytes(8)
with open(os.path.join(corpus, 'seed_legacy'), 'wb') as f:
    f.write(legacy)
PY
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
