#!/usr/bin/env bash
# Makes small binary seed files for the movie and WAV fuzzers into OUT/movie_fuzzer
# and OUT/wav_fuzzer (binary media is never committed).
set -euo pipefail
out=${1:?usage: make_seeds.sh OUT}
mkdir -p "$out/movie_fuzzer" "$out/wav_fuzzer"
src="testsrc=size=32x32:rate=25:duration=0.2"
ff() { ffmpeg -nostdin -v error -y "$@"; }
ff -f lavfi -i "$src" -c:v libx264 -preset ultrafast -timecode 10:00:00:00 "$out/movie_fuzzer/a.mov"
ff -f lavfi -i "$src" -c:v libx264 -preset ultrafast -timecode 01:00:00:00 \
    -metadata creation_time=2024-05-01T10:00:00Z "$out/movie_fuzzer/b.mp4"
ff -f lavfi -i "testsrc=size=32x32:rate=30000/1001:duration=0.2" -c:v libx264 -preset ultrafast \
    -timecode "10:00:00;00" -movflags +faststart "$out/movie_fuzzer/c.mp4"
ff -f lavfi -i "testsrc=size=32x32:rate=25:duration=0.12" -c:v mpeg2video -timecode 10:00:00:00 \
    "$out/movie_fuzzer/d.mxf"
ff -f lavfi -i "sine=duration=0.01:sample_rate=8000" -c:a pcm_s16le -write_bext 1 \
    -metadata time_reference=172800000 -f wav "$out/wav_fuzzer/bext.wav"
ff -f lavfi -i "sine=duration=0.01:sample_rate=8000" -c:a pcm_s16le -rf64 always \
    -f wav "$out/wav_fuzzer/rf64.wav"
ls -l "$out"/*/
