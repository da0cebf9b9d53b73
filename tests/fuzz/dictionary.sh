#!/bin/sh
# dictionary.sh HARNESS: the path of the dictionary that a fuzzer is to use.
case $1 in
  http_* | icy | playlists | text_fields | url_patch) name=text ;;
  *) name=media ;;
esac
echo "$(dirname "$(readlink -f "$0")")/dictionaries/$name.dict"
