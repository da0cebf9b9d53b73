#include "support/certificates.h"

#include <stdexcept>

#include "support/child_process.h"

namespace quorin_test {

void makeCertificates(const TemporaryFolder& folder) {
  const std::string script = folder.write("certificates.sh", std::string(R"(set -e
cd "$1"
key="-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
openssl req -x509 $key -keyout ca.key -out ca.pem -days 2 -subj "/CN=Test authority"
openssl req -x509 $key -keyout other.key -out other.pem -days 2 -subj "/CN=Other authority"
openssl req -new $key -keyout server.key -out server.csr -subj "/CN=Test server"
echo "subjectAltName=IP:127.0.0.1,DNS:localhost" > names
openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -out server.pem -days 2 -extfile names
)"));
  ChildProcess openssl({"sh", script, folder.path()}, folder / "certificates.log");
  if (!openssl.succeeds()) {
    throw std::runtime_error("openssl made no certificates");
  }
}

}  // namespace quorin_test
