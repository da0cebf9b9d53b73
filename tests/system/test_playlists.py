"""Playlists as programs write them. golden/playlists.txt shows each with what is made of it, so that a reader sees what
is followed and what is not."""

import pytest

from web_server import Nginx

M3U, ASX = "audio/x-mpegurl", "video/x-ms-asf"
BOM = b"\xef\xbb\xbf"

PLAYLISTS = {
    "a bare list, LF": (M3U, b"http://host/1.mp3\nhttp://host/2.mp3\n"),
    "a bare list, CRLF": (M3U, b"http://host/1.mp3\r\nhttp://host/2.mp3\r\n"),
    "a bare list, CR": (M3U, b"http://host/1.mp3\rhttp://host/2.mp3\r"),
    "an extended list, LF": (M3U, b"#EXTM3U\n#EXTINF:215,Artist - Title\nhttp://host/1.mp3\n"),
    "an extended list, CRLF": (M3U, b"#EXTM3U\r\n#EXTINF:215,Artist - Title\r\nhttp://host/1.mp3\r\n"),
    "an extended list whose lines end differently": (M3U, b"#EXTM3U\n#EXTINF:1,One\nhttp://host/1.mp3\n#EXTINF:2,Two\r\n"),
    "an extended list with a byte order mark": (M3U, BOM + b"#EXTM3U\r\n#EXTINF:-1,Radio\r\nhttp://host/live\r\n"),
    "a bare list with a byte order mark": (M3U, BOM + b"http://host/1.mp3\n"),
    "attributes of a television guide": (M3U, b'#EXTM3U\n#EXTINF:-1 tvg-id="one" group-title="News",One\nhttp://host/1\n'),
    "an empty line behind the head": (M3U, b"#EXTM3U\n\n#EXTINF:1,One\nhttp://host/1.mp3\n"),
    "a comment": (M3U, b"#EXTM3U\n# made by hand\nhttp://host/1.mp3\n"),
    "player options between the lines": (M3U, b"#EXTM3U\n#EXTVLCOPT:network-caching=1000\nhttp://host/1.mp3\n"),
    "a directive that is no #EXT": (M3U, b"#EXTM3U\n#PLAYLIST:Mine\nhttp://host/1.mp3\n"),
    "a relative entry": (M3U, b"#EXTM3U\n#EXTINF:1,One\nAlbum/01 One.mp3\n"),
    "a path": (M3U, b"/music/01 One.mp3\n"),
    "a path of Windows": (M3U, b"#EXTM3U\r\n#EXTINF:1,One\r\nC:\\Music\\01 One.mp3\r\n"),
    "a file URI": (M3U, b"#EXTM3U\nfile:///music/01%20One.mp3\n"),
    "a medium": (M3U, b"#EXTM3U\nvdr2://0123-ABCD/Album/01 One.mp3\n"),
    "a scheme in capital letters": (M3U, b"#EXTM3U\nHTTP://host/1.mp3\n"),
    "a scheme in capital letters in the first line": (M3U, b"HTTP://host/1.mp3\n"),
    "a blank in the address": (M3U, b"#EXTM3U\nhttp://host/01 One.mp3\n"),
    "blanks around the address": (M3U, b"#EXTM3U\n  http://host/1.mp3  \n"),
    "Latin-1 in the address": (M3U, b"#EXTM3U\nhttp://host/\xc4rger.mp3\n"),
    "variants of an HTTP live stream": (
        M3U, b"#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-STREAM-INF:BANDWIDTH=128000\nhttp://host/low.m3u8\n"),
    "segments of an HTTP live stream": (M3U, b"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:9.9,\nsegment1.aac\n"),
    "only the head": (M3U, b"#EXTM3U"),
    "PLS, which is none of these": (M3U, b"[playlist]\nFile1=http://host/1.mp3\nNumberOfEntries=1\nVersion=2\n"),
    "ASX 3.0": (ASX, b'<ASX version="3.0">\r\n<TITLE>Station</TITLE>\r\n<ENTRY>\r\n<REF HREF="http://host/live"/>\r\n'
                     b"</ENTRY>\r\n</ASX>\r\n"),
    "ASX in lower case": (ASX, b'<asx version="3.0"><entry><ref href="mms://host/live"/></entry></asx>'),
    "ASX with blanks around the equals sign": (ASX, b'<asx version = "3.0">\n<entry>\n<ref href = "http://host/live" />\n'),
    "ASX with an XML declaration": (
        ASX, b'<?xml version="1.0"?>\n<ASX version="3.0"><ENTRY><REF HREF="http://host/live"/></ENTRY></ASX>'),
    "ASX with a banner in its entry": (
        ASX, b'<ASX version="3.0"><ENTRY><BANNER HREF="http://host/b.gif"/><REF HREF="http://host/live"/></ENTRY></ASX>'),
    "ASX with a base address": (
        ASX, b'<ASX version="3.0"><BASE HREF="http://host/"/><ENTRY><REF HREF="live.wma"/></ENTRY></ASX>'),
    "ASX with parameters before the address": (
        ASX, b'<ASX version="3.0"><ENTRY><PARAM NAME="a" VALUE="b"/><REF ID="1" HREF="http://host/live"/></ENTRY></ASX>'),
    "ASX that names another list": (ASX, b'<ASX version="3.0"><ENTRYREF HREF="http://host/more.asx"/></ASX>'),
    "ASX with an entry and another list": (
        ASX, b'<ASX version="3.0"><ENTRY><REF HREF="http://host/1"/></ENTRY><ENTRYREF HREF="http://host/more.asx"/></ASX>'),
    "ASX with apostrophes": (ASX, b"<asx version='3.0'><entry><ref href='http://host/live'/></entry></asx>"),
    "ASX without an entry": (ASX, b'<ASX version="3.0"><TITLE>Off the air</TITLE></ASX>'),
    "a reference file": (ASX, b"[Reference]\r\nRef1=http://host/live?MSWMExt=.asf\r\nRef2=http://other/live\r\n"),
    "a reference file that names a list": (ASX, b"[Reference]\r\nRef1=http://host/list.asx\r\n"),
    "a reference file with a relative address": (ASX, b"[Reference]\nRef1=live.asf\n"),
    "an address alone": (ASX, b"http://host/live"),
    "an address of another protocol alone": (ASX, b"rtsp://host/live\n"),
    "a page instead of a list": (ASX, b"<html><body>Not found</body></html>"),
    "nothing": (ASX, b""),
}


@pytest.fixture(scope="module")
def nginx(tmp_path_factory):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        yield server


def test_what_is_made_of_playlists_of_other_programs(quorin, nginx, golden):
    text = ""
    urls = [nginx.serve(f"list{i}", body, kind) for i, (kind, body) in enumerate(PLAYLISTS.values())]
    for (name, (kind, body)), record in zip(PLAYLISTS.items(), quorin.records(*urls), strict=True):
        outcome = "not followed"
        if record["kind"] == "redirect":
            outcome = f"{record['mime_type']} to {record['redirect']['urls'][0]}"
        lines = "".join(f"  | {ascii(line.decode('latin-1'))[1:-1]}\n" for line in body.splitlines(keepends=True))
        text += f"{name} ({kind})\n{lines}  = {outcome}\n\n"
    golden("playlists.txt", text)
