"""Scans for the tests of reports: records as quorin writes them, made up but plausible, the same every time."""

import base64
import json
import random

FORMATS = ["mp3", "mp3", "mp3", "mp3", "mp3", "mp3", "flac", "flac", "wav", "aac_mpeg4"]
ENDINGS = {"mp3": "mp3", "flac": "flac", "wav": "wav", "aac_mpeg4": "aac"}
MIME_TYPES = {"mp3": "audio/mpeg", "flac": "audio/x-flac", "wav": "audio/wav", "aac_mpeg4": "audio/aac"}
CAUSES = {"permission_denied": "permission denied", "io_error": "reading failed (code -5)",
          "timed_out": "timed out while it was read"}
WORDS = ["Morning", "River", "Glass", "Northern", "Lantern", "Opening", "Slow", "Harbour", "Tides", "Paper", "Winter",
         "Song", "Night", "Étude", "日本語の歌", "Blue", "Garden", "Twelve", "Letters", "Home"]


def record(name, kind="audio", **members):
    """The least that a record holds; `name` may be bytes."""
    named = {"uri": name} if isinstance(name, str) else {"path_b64": base64.b64encode(name).decode()}
    cost = {"bytes": 4096, "reads": 1, "requests": 0, "elapsed_us": 100}
    return {"v": 1, **named, "kind": kind, "cost": cost, **members}


def audio(media_type="mp3", seconds=None, bit_rate=None, pictures=(), **members):
    made = {"media_type": media_type, "can_seek": True, "can_set_speed": True, "can_pause": True,
            "pictures": [{"offset": 100, "length": length} for length in pictures], **members}
    if seconds is not None:
        made["duration"] = {"seconds": int(seconds), "microseconds": int(seconds % 1 * 1000000)}
    if bit_rate is not None:
        made["bit_rate"] = bit_rate
    return {"code": 0, "mime_type": MIME_TYPES.get(media_type, "audio/mpeg"), "audio": made}


def error(name, message):
    return {"code": -1, "error": {"name": name, "message": message}}


def collection(count):
    """A music library of `count` items, some of which failed."""
    dice = random.Random(7)
    records = []
    for n in range(count):
        album = n // 12
        folder = f"/srv/music/{WORDS[album % 17]} {WORDS[album // 17 % 20]}/{1970 + album % 50} {WORDS[album % 19]}/"
        title = f"{n % 12 + 1:02} {dice.choice(WORDS)} {dice.choice(WORDS)}"
        made = library_item(dice, folder + title)
        made["cost"] = {"bytes": dice.choice([8192, 12288, 20480, 65536, 135000]), "reads": dice.randint(1, 7),
                        "requests": 0, "elapsed_us": int(dice.lognormvariate(6, 1.2))}
        records.append(made)
    return records


def library_item(dice, path):
    chance = dice.random()
    size = {"file": {"size": int(dice.lognormvariate(15.4, .8)), "mtime": {"seconds": 1700000000, "nanoseconds": 0}}}
    if chance < .012:
        name = dice.choice(sorted(CAUSES))
        return record(path + ".mp3", "error", **error(name, CAUSES[name]))
    if chance < .03:
        return record(path + ".jpg", "unknown", **error("not_recognised", "not recognised"), **size)
    if chance < .035:
        return record(path + ".m3u", "redirect", code=0, mime_type="audio/x-mpegurl",
                      redirect={"urls": ["http://radio.example/live.mp3"]}, **size)
    media_type = dice.choice(FORMATS)
    rate = {"mp3": dice.choice([128000, 192000, 256000, 320000, dice.randint(90000, 280000)]),
            "flac": dice.randint(350000, 700000), "wav": 1411200}.get(media_type)
    pictures = [int(dice.lognormvariate(11.5, .8))] if media_type in ("mp3", "flac") and dice.random() < .7 else []
    seconds = None if media_type == "aac_mpeg4" else round(dice.lognormvariate(5.4, .6), 3)
    return record(f"{path}.{ENDINGS[media_type]}", **audio(media_type, seconds, rate, pictures, channels=2,
                                                      sample_rate=dice.choice([44100, 44100, 48000])), **size)


def lines(records):
    return "".join(json.dumps(made, ensure_ascii=False, separators=(",", ":")) + "\n" for made in records)
