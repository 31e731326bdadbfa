#include "testcertificate.h"

#include <string>

#include <openssl/pem.h>
#include <openssl/x509v3.h>

TestCertificate::TestCertificate(const char* address)
    : m_key(EVP_EC_gen("P-256"))
    , m_certificate(X509_new())
    , m_context(SSL_CTX_new(TLS_server_method()))
{
    X509_set_version(m_certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(m_certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(m_certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(m_certificate), 3600);
    X509_set_pubkey(m_certificate, m_key);
    X509_NAME* name = X509_get_subject_name(m_certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("test"), -1,
                               -1, 0);
    X509_set_issuer_name(m_certificate, name);
    const std::string alternative = std::string("IP:") + address;
    X509_EXTENSION* extension =
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, alternative.c_str());
    X509_add_ext(m_certificate, extension, -1);
    X509_EXTENSION_free(extension);
    X509_sign(m_certificate, m_key, EVP_sha256());
    SSL_CTX_use_certificate(m_context, m_certificate);
    SSL_CTX_use_PrivateKey(m_context, m_key);
    SSL_CTX_set_security_level(m_context, 0);
}

TestCertificate::~TestCertificate()
{
    SSL_CTX_free(m_context);
    X509_free(m_certificate);
    EVP_PKEY_free(m_key);
}

QByteArray TestCertificate::pem() const
{
    BIO* memory = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(memory, m_certificate);
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory, &text);
    QByteArray pem(text, length);
    BIO_free(memory);
    return pem;
}

SSL* TestCertificate::newServerTls(int socket) const
{
    SSL* tls = SSL_new(m_context);
    SSL_set_fd(tls, socket);
    return tls;
}
