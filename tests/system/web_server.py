"""Servers on the loopback for the tests of the command."""

import contextlib
import pathlib
import shutil
import socket
import subprocess
import threading
import time
import urllib.parse

CONFIGURATION = """
load_module /usr/lib/nginx/modules/ndk_http_module.so;
load_module /usr/lib/nginx/modules/ngx_http_lua_module.so;
daemon off; worker_processes 1; pid nginx.pid; error_log error.log; user root;
events { worker_connections 64; }
http {
  log_format whole '$status $body_bytes_sent $request_method $request_uri|$http_user_agent|$http_x_test|'
                   '$http_authorization|$http_cookie';
  access_log access.log whole;
  client_body_temp_path tmp/b; proxy_temp_path tmp/p; fastcgi_temp_path tmp/f; uwsgi_temp_path tmp/u;
  scgi_temp_path tmp/s;
  types { audio/mpeg mp3; audio/x-mpegurl m3u; "audio/L16;rate=44100;channels=2" l16; }
  root www;
  server {
    listen 127.0.0.1:%(http)d;
    listen 127.0.0.1:%(https)d ssl;
    ssl_certificate server.pem; ssl_certificate_key server.key;
    location / { }
    location = /moved { return 302 http://127.0.0.1:%(http)d/song.mp3; }
    location = /lost { content_by_lua_block { ngx.status = 302; return ngx.exit(ngx.OK) } }
    location ~ ^/go/(?<code>3\\d\\d)$ { content_by_lua_block {
      ngx.status = tonumber(ngx.var.code); ngx.header["Location"] = ngx.unescape_uri(ngx.var.arg_to or "")
      ngx.print("look there"); return ngx.exit(ngx.OK) } }
    location /norange/ { alias www/; max_ranges 0; }
    location /slow/ { alias www/; limit_rate 8m; }
    location /any/ { rewrite ^ /named.mp3 break; }
    location /typed/ { alias www/; header_filter_by_lua_block {
      ngx.header.content_type = ngx.unescape_uri(ngx.var.arg_type) } }
    location ~ ^/status/(?<code>\\d+)$ { content_by_lua_block {
      ngx.status = tonumber(ngx.var.code); ngx.say("status"); return ngx.exit(ngx.OK) } }
  }
}
"""

CERTIFICATES = """
set -e
key="-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
openssl req -x509 $key -keyout ca.key -out ca.pem -days 2 -subj "/CN=Test authority"
openssl req -new $key -keyout server.key -out server.csr -subj "/CN=Test server"
echo "subjectAltName=IP:127.0.0.1" > names
openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -out server.pem -days 2 -extfile names
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Nginx:
    """A real server: its root is `www`; /status/N answers N, /moved leads to /song.mp3, /lost redirects to nowhere,
    /go/3xx?to=URI to that URI; /typed/NAME?type=T serves NAME as that type; /norange/NAME without ranges; /slow/NAME at
    8 MiB a second; /any/... serves named.mp3; https with a certificate that only `ca` has signed."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.www = self.folder / "www"
        self.http, self.https = free_port(), free_port()
        self.url = f"http://127.0.0.1:{self.http}"
        self.secure_url = f"https://127.0.0.1:{self.https}"
        self.ca = self.folder / "ca.pem"

    def __enter__(self):
        self.www.mkdir()
        (self.folder / "tmp").mkdir()
        subprocess.run(["sh", "-c", CERTIFICATES], cwd=self.folder, check=True, capture_output=True)
        (self.folder / "nginx.conf").write_text(CONFIGURATION % {"http": self.http, "https": self.https})
        nginx = shutil.which("nginx", path="/usr/sbin:/usr/bin")
        self.process = subprocess.Popen(
            [nginx, "-p", str(self.folder), "-c", str(self.folder / "nginx.conf"), "-e", str(self.folder / "error.log")]
        )
        for _ in range(200):
            if (self.folder / "nginx.pid").exists():
                return self
            if self.process.poll() is not None:
                break
            time.sleep(0.05)
        self.process.kill()
        raise RuntimeError("nginx does not start: " + (self.folder / "error.log").read_text())

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(10)

    def go(self, target, code=302):
        """A URL that redirects to the target, as it stands."""
        return f"{self.url}/go/{code}?to={urllib.parse.quote(target, safe='')}"

    def serve(self, name, body, content_type):
        """Puts an item there; the URL under which it is of that type."""
        (self.www / name).write_bytes(body if isinstance(body, bytes) else body.encode())
        return f"{self.url}/typed/{name}?type={urllib.parse.quote(content_type, safe='')}"

    def requests(self):
        """One line per request: status, bytes of the body, method, URI | user agent | X-Test | authorization | cookie."""
        time.sleep(0.1)  # nginx logs after it has answered
        return (self.folder / "access.log").read_text().splitlines()


def live(audio, interval=4096, titles=("One", "It's; two", "", "Two")):
    """A live stream: a title before each of the first pieces of audio."""
    body = b""
    for at in range(0, len(audio), interval):
        piece = audio[at:at + interval]
        number = at // interval
        text = f"StreamTitle='{titles[number]}';StreamUrl='x';".encode() if number < len(titles) else b""
        blocks = (len(text) + 15) // 16
        body += piece + (bytes([blocks]) + text.ljust(blocks * 16, b"\0") if len(piece) == interval else b"")
    return (f"HTTP/1.0 200 OK\r\nContent-Type: audio/mpeg\r\nicy-br:128\r\nicy-metaint: {interval}\r\n\r\n".encode()
            + body)


@contextlib.contextmanager
def serving(talk):
    """A server that talks to whoever connects by talk(CONNECTION, ENDING), in a thread for each; ENDING is an event that is
    set when the test is over. Yields its URL."""
    listener = socket.create_server(("127.0.0.1", 0))
    ending = threading.Event()
    threads = []

    def serve(connection):
        with connection, contextlib.suppress(OSError):
            talk(connection, ending)

    def accept():
        with contextlib.suppress(OSError):
            while True:
                threads.append(threading.Thread(target=serve, args=(listener.accept()[0],), daemon=True))
                threads[-1].start()

    acceptor = threading.Thread(target=accept, daemon=True)
    acceptor.start()
    try:
        yield f"http://127.0.0.1:{listener.getsockname()[1]}"
    finally:
        ending.set()
        listener.shutdown(socket.SHUT_RDWR)
        listener.close()
        for thread in [acceptor, *threads]:
            thread.join(10)


def scripted_server(answer, close=False, requests=None):
    """A server that sends `answer` to whoever connects and then says no more, or closes. What it is asked is added to
    `requests`."""

    def talk(connection, ending):
        request = connection.recv(65536)
        if requests is not None:
            requests.append(request.decode("latin-1"))
        connection.sendall(answer)
        if close:
            connection.shutdown(socket.SHUT_RDWR)
        ending.wait()

    return serving(talk)


def flood(beginning, piece, pause=0.0):
    """A server that sends `beginning` and then `piece` without end."""

    def talk(connection, ending):
        connection.recv(65536)
        connection.sendall(beginning)
        while not ending.wait(pause):
            connection.sendall(piece)

    return serving(talk)


def range_server(answer):
    """A server that sends answer(FIRST, LAST) for the bytes [FIRST, LAST] that it is asked for; LAST is far away when it
    is asked for all."""
    everything = (0, 1 << 62)

    def talk(connection, _):
        asked = everything
        with connection.makefile("rb") as lines:
            while line := lines.readline():
                if line.startswith(b"Range: bytes="):
                    first, last = line.decode().partition("=")[2].split("-")
                    asked = int(first), int(last) if last.strip() else everything[1]
                elif line == b"\r\n":
                    connection.sendall(answer(*asked))
                    asked = everything

    return serving(talk)


def part(item, first, last, lines=""):
    """The answer with the bytes [first, last] of an item, as far as there are any. `lines` are more of its header."""
    last = min(last, len(item) - 1)
    return (f"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes {first}-{last}/{len(item)}\r\n"
            f"Content-Length: {last - first + 1}\r\n{lines}\r\n").encode() + item[first:last + 1]
