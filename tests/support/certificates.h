#pragma once

#include "support/temporary_folder.h"

namespace quorin_test {

/// Makes, in `folder`: ca.pem (a private certificate authority), server.pem and server.key (signed by it, for 127.0.0.1
/// and localhost), other.pem (an authority that has signed nothing).
void makeCertificates(const TemporaryFolder& folder);

}  // namespace quorin_test
