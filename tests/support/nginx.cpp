#include "support/nginx.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "support/certificates.h"
#include "support/loopback.h"

namespace quorin_test {

namespace {

// Lua only where nginx itself has no directive: leaving out the length, and a status by number.
constexpr char configuration[] = R"(
load_module /usr/lib/nginx/modules/ndk_http_module.so;
load_module /usr/lib/nginx/modules/ngx_http_lua_module.so;
daemon off;
master_process off;
pid nginx.pid;
error_log error.log warn;
events { worker_connections 256; }
http {
  log_format requests '$connection $status $body_bytes_sent "$http_range" "$request" $server_port';
  access_log access.log requests;
  client_body_temp_path tmp/b; proxy_temp_path tmp/p; fastcgi_temp_path tmp/f; uwsgi_temp_path tmp/u; scgi_temp_path tmp/s;
  types { audio/mpeg mp3; audio/aac aac; audio/flac flac; audio/wav wav; audio/mp4 m4a; audio/x-mpegurl m3u;
          "audio/L16;rate=44100;channels=2" l16; }
  default_type application/octet-stream;
  root www;
  keepalive_timeout 30s;
  large_client_header_buffers 4 64k;
  server_tokens off;
  absolute_redirect off;
  server {
    listen 127.0.0.1:@HTTP@;
    @TLS@
    location /norange/    { alias www/; max_ranges 0; }
    location /norange406/ { alias www/; if ($http_range) { return 406; } }
    location /norange416/ { alias www/; if ($http_range) { return 416; } }
    location /norange400/ { alias www/; if ($http_range) { return 400; } }
    location /norange501/ { alias www/; if ($http_range) { return 501; } }
    location /chunked/    { alias www/; max_ranges 0; header_filter_by_lua_block { ngx.header.content_length = nil } }
    location /nolength/   { alias www/; max_ranges 0; chunked_transfer_encoding off;
                            header_filter_by_lua_block { ngx.header.content_length = nil } }
    location /gzip/       { alias www/; gzip on; gzip_types *; gzip_min_length 1; }
    location /encoded/    { alias www/; add_header Content-Encoding gzip; }
    location /icy/        { alias www/; add_header icy-metaint 8192; }
    location /oneshot/    { alias www/; keepalive_timeout 0; }
    location /secret/     { alias www/; auth_basic "test"; auth_basic_user_file passwords; }
    location ~ ^/status/(3\d+)$ { content_by_lua_block { ngx.status = tonumber(ngx.var[1])
                            ngx.header["Location"] = "/item"; ngx.print("look there"); return ngx.exit(ngx.OK) } }
    location ~ ^/status/(\d+)$ { content_by_lua_block { ngx.status = tonumber(ngx.var[1])
                            ngx.print("sorry"); return ngx.exit(ngx.OK) } }
    location = /drop      { return 444; }
  }
  server {
    listen 127.0.0.1:@PROXY@;
    location / { proxy_pass http://$http_host$request_uri; proxy_set_header Range $http_range; proxy_buffering off; }
  }
}
)";

constexpr char tlsConfiguration[] =
    "listen 127.0.0.1:@HTTPS@ ssl; listen 127.0.0.2:@HTTPS@ ssl; ssl_certificate server.pem; "
    "ssl_certificate_key server.key;";

void replaceAll(std::string& text, const std::string& mark, const std::string& value) {
  for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size())) {
    text.replace(at, mark.size(), value);
  }
}

Nginx::Request parseRequest(const std::string& line, uint16_t proxyPort) {
  std::istringstream stream(line);
  Nginx::Request request;
  const auto quoted = [&stream] {
    std::string text;
    std::getline(stream, text, '"');
    std::getline(stream, text, '"');
    return text;
  };
  stream >> request.connection >> request.status >> request.bodyBytes;
  request.range = quoted();
  request.line = quoted();
  int port = 0;
  stream >> port;
  request.proxied = port == proxyPort;
  return request;
}

}  // namespace

Nginx::Nginx(Tls tls) : port_(freePort()), tlsPort_(freePort()), proxyPort_(freePort()) {
  std::string text = configuration;
  replaceAll(text, "@TLS@", tls == WITH_TLS ? tlsConfiguration : "");
  replaceAll(text, "@HTTP@", std::to_string(port_));
  replaceAll(text, "@HTTPS@", std::to_string(tlsPort_));
  replaceAll(text, "@PROXY@", std::to_string(proxyPort_));
  const std::string configurationPath = folder_.write("nginx.conf", text);
  folder_.write("passwords", std::string("user:{PLAIN}pass word\n"));
  folder_.makeFolder("www/forbidden");
  folder_.makeFolder("tmp");
  if (tls == WITH_TLS) {
    makeCertificates(folder_);
  }
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"nginx", "-p", folder_.path(), "-c", configurationPath, "-e", folder_ / "error.log"},
      folder_ / "output");
  waitForListener(port_, *process_);
}

Nginx::~Nginx() = default;

void Nginx::serve(const std::string& name, const Bytes& bytes) const {
  // A new file rather than a new content, so that a response under way keeps its own.
  std::filesystem::rename(folder_.write("new", bytes), folder_ / ("www/" + name));
  folder_.write("www/forbidden/" + name, bytes);
  std::filesystem::permissions(folder_ / ("www/forbidden/" + name), std::filesystem::perms::none);
}

std::string Nginx::url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }

std::string Nginx::tlsUrl(const std::string& path) const {
  return "https://127.0.0.1:" + std::to_string(tlsPort_) + path;
}

std::string Nginx::wrongNameUrl(const std::string& path) const {
  return "https://127.0.0.2:" + std::to_string(tlsPort_) + path;
}

std::string Nginx::proxyUrl() const { return "http://127.0.0.1:" + std::to_string(proxyPort_); }

std::string Nginx::caBundle() const { return folder_ / "ca.pem"; }

std::string Nginx::otherCaBundle() const { return folder_ / "other.pem"; }

std::vector<Nginx::Request> Nginx::stop() {
  process_->stop();
  std::vector<Request> requests;
  std::ifstream log(folder_ / "access.log");
  for (std::string line; std::getline(log, line);) {
    requests.push_back(parseRequest(line, proxyPort_));
  }
  return requests;
}

size_t connectionsOf(const std::vector<Nginx::Request>& requests) {
  std::set<int> connections;
  for (const Nginx::Request& request : requests) {
    connections.insert(request.connection);
  }
  return connections.size();
}

}  // namespace quorin_test
