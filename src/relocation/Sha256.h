#pragma once

#include <QByteArray>

namespace halvenor {

/// The 32 bytes of a text's SHA-256 (FIPS 180-4). Any thread.
///
/// By OpenSSL's library, which uses the processor's own instructions and is ten times as fast as
/// Qt; it is loaded with the first call. Where it is not installed Qt does the work.
QByteArray sha256(QByteArrayView bytes);

}  // namespace halvenor
