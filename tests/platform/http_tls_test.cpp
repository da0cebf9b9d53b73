// HTTPS with certificates of a private authority.
#include <gtest/gtest.h>

#include "http_client.h"
#include "support/bytes.h"
#include "support/nginx.h"
#include "support/raw_server.h"
#include "support/temporary_folder.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;

class HttpTls : public testing::Test {
 protected:
  HttpTls() { nginx.serve("item", bytes); }

  static HttpTexts trusting(const std::string& caBundle) {
    HttpTexts texts;
    texts.caBundle = caBundle;
    return texts;
  }

  Nginx nginx{Nginx::WITH_TLS};
  const Bytes bytes = testBytes(300000);
};

TEST_F(HttpTls, APrivateAuthorityIsTrustedWhenTheOptionNamesIt) {
  const auto source = openedUrl(nginx.tlsUrl("/item"), trusting(nginx.caBundle()));
  EXPECT_TRUE(isSeekable(*source));
  EXPECT_TRUE(readOn(*source).bytes == bytes);
  EXPECT_EQ(connectionsOf(nginx.stop()), 1U);
}

TEST_F(HttpTls, APrivateAuthorityIsNotTrustedByItself) {
  EXPECT_EQ(openUrl(nginx.tlsUrl("/item")).code, OPEN_TLS_FAILED);
}

TEST_F(HttpTls, AnotherAuthorityDoesNotVouch) {
  EXPECT_EQ(openUrl(nginx.tlsUrl("/item"), trusting(nginx.otherCaBundle())).code, OPEN_TLS_FAILED);
}

TEST_F(HttpTls, ACertificateForAnotherNameIsRefused) {
  EXPECT_EQ(openUrl(nginx.wrongNameUrl("/item"), trusting(nginx.caBundle())).code, OPEN_TLS_FAILED);
}

TEST_F(HttpTls, AServerThatSpeaksNoTlsIsATlsFailure) {
  const std::string plain = nginx.url("/item");
  EXPECT_EQ(openUrl("https" + plain.substr(4), trusting(nginx.caBundle())).code, OPEN_TLS_FAILED);
}

TEST_F(HttpTls, ABundleWithoutCertificatesIsABadOption) {
  const TemporaryFolder folder;
  const std::string bundle = folder.write("ca.pem", std::string("nothing of the kind\n"));
  EXPECT_EQ(openUrl(nginx.tlsUrl("/item"), trusting(bundle)).code, OPEN_BAD_URI);
}

}  // namespace
}  // namespace quorin_test
