#pragma once

#include <QByteArray>

#include <openssl/ssl.h>

/// A self-signed certificate made for one test run, for 127.0.0.1 or another address.
class TestCertificate
{
public:
    explicit TestCertificate(const char* address = "127.0.0.1");
    TestCertificate(const TestCertificate&) = delete;
    TestCertificate& operator=(const TestCertificate&) = delete;
    ~TestCertificate();

    [[nodiscard]] QByteArray pem() const;
    /// A server's end on `socket`, at most of the given protocol version; the caller frees it.
    [[nodiscard]] SSL* newServerTls(int socket) const;
    /// The newest protocol version that the server speaks, such as TLS1_1_VERSION; the newest of all if
    /// unset.
    void setNewestVersion(int version) { SSL_CTX_set_max_proto_version(m_context, version); }

private:
    EVP_PKEY* m_key;
    X509* m_certificate;
    SSL_CTX* m_context;
};
