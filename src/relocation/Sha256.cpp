#include "relocation/Sha256.h"

#include <QCryptographicHash>

#include <openssl/sha.h>

#include "base/Error.h"
#include "base/LateLibrary.h"

namespace halvenor {

namespace {

constinit const LateLibrary crypto("libcrypto.so.3", "OpenSSL's libcrypto is not installed.");
constinit const LateFunction<decltype(::SHA256)> digest(crypto, "SHA256");

decltype(&::SHA256) resolvedDigest() {
    try {
        return digest.resolve();
    } catch (const Error&) {
        return nullptr;
    }
}

}  // namespace

QByteArray sha256(QByteArrayView bytes) {
    const auto function = resolvedDigest();
    QByteArray result(SHA256_DIGEST_LENGTH, Qt::Uninitialized);
    const bool isDone =
        function != nullptr && function(reinterpret_cast<const unsigned char*>(bytes.data()),
                                        static_cast<size_t>(bytes.size()),
                                        reinterpret_cast<unsigned char*>(result.data())) != nullptr;
    return isDone ? result
                  : QCryptographicHash::hash(bytes.toByteArray(), QCryptographicHash::Sha256);
}

}  // namespace halvenor
