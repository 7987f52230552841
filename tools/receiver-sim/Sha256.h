#pragma once

#include <QByteArray>

#include <openssl/evp.h>

// SHA-256 through OpenSSL, which uses the CPU's SHA instructions: receiving must not be slowed
// down by the digest of a large upload.
class Sha256
{
public:
    Sha256()
        : m_context(EVP_MD_CTX_new())
    {
        reset();
    }
    ~Sha256() { EVP_MD_CTX_free(m_context); }
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void reset() { EVP_DigestInit_ex(m_context, EVP_sha256(), nullptr); }
    void addData(const char* data, qint64 size) { EVP_DigestUpdate(m_context, data, size_t(size)); }
    QByteArray hexResult()
    {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        EVP_DigestFinal_ex(m_context, digest, &length);
        return QByteArray(reinterpret_cast<const char*>(digest), int(length)).toHex();
    }

private:
    EVP_MD_CTX* m_context;
};
