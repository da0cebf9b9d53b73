#!/bin/sh
# make_album.sh DIRECTORY: a small album of every kind of item that quorin tells apart, made by a real encoder. Does
# nothing when it is there already.
set -eu
album=$1
[ ! -f "$album/.complete" ] || exit 0
rm -rf "$album"
mkdir -p "$album"
encode() { ffmpeg -nostdin -loglevel error -y "$@"; }
tone="sine=frequency=330:sample_rate=44100:duration=30"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
encode -f lavfi -i "testsrc2=size=900x900:rate=1" -frames:v 1 -q:v 1 "$work/cover.jpg"
encode -f lavfi -i "$tone" -i "$work/cover.jpg" -map 0 -map 1 -c:v copy -b:a 128k -id3v2_version 3 -write_id3v1 1 \
  -metadata title="With cover" "$album/01 With cover.mp3"
encode -f lavfi -i "$tone" -c:a libmp3lame -q:a 4 "$album/02 Variable bitrate.mp3"
encode -f lavfi -i "$tone" -ac 2 "$album/03 Lossless.flac"
encode -f lavfi -i "$tone" -ac 2 -bitexact "$album/04 Uncompressed.wav"
encode -f lavfi -i "$tone" -ac 2 -c:a aac -b:a 96k -f adts "$album/05 Broadcast.aac"
touch "$album/.complete"
