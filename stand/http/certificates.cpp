#include "stand/http/certificates.h"

#include "stand/http/hostaddress.h"

#include <chrono>
#include <memory>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <random>
#include <stdexcept>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;
using std::chrono::days;

template <auto free>
struct Freed
{
    template <typename T>
    void operator()(T* object) const
    {
        free(object);
    }
};

using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using X509Pointer = std::unique_ptr<X509, Freed<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freed<X509_EXTENSION_free>>;
using File = std::unique_ptr<BIO, Freed<BIO_free_all>>;

/// What is written into one certificate.
struct Subject
{
    std::string commonName;
    std::string alternativeNames;  ///< in OpenSSL's notation; empty for an authority
    days from{-30};                ///< relative to now
    days to{365};
};

struct Identity
{
    Key key;
    X509Pointer certificate;
};

void require(bool done)
{
    if (!done) {
        throw std::runtime_error(std::string("cannot make certificates: ") +
                                 ERR_error_string(ERR_get_error(), nullptr));
    }
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

void setSerial(X509* certificate)
{
    std::random_device random;
    const auto serial = std::uint64_t{random()} << 32 | random();
    require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial) == 1);
}

void setSubject(X509* certificate, const Subject& subject)
{
    auto* name = X509_get_subject_name(certificate);
    const auto* text = reinterpret_cast<const unsigned char*>(subject.commonName.c_str());
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1);
    require(X509_gmtime_adj(X509_getm_notBefore(certificate), std::chrono::seconds(subject.from).count()));
    require(X509_gmtime_adj(X509_getm_notAfter(certificate), std::chrono::seconds(subject.to).count()));
}

void setUsage(X509* certificate, X509* issuer, const Subject& subject)
{
    const bool authority = subject.alternativeNames.empty();
    addExtension(certificate, issuer, NID_basic_constraints,
                 authority ? "critical,CA:TRUE" : "critical,CA:FALSE");
    addExtension(certificate, issuer, NID_key_usage,
                 authority ? "critical,keyCertSign" : "critical,digitalSignature");
    if (!authority) {
        addExtension(certificate, issuer, NID_subject_alt_name, subject.alternativeNames);
    }
}

/// Signed by `issuer`, by itself without one.
Identity makeIdentity(const Subject& subject, const Identity* issuer)
{
    constexpr long version3 = 2;
    Identity made{Key(EVP_EC_gen("P-256")), X509Pointer(X509_new())};
    require(made.key && made.certificate);
    const auto& signer = issuer ? *issuer : made;
    auto* certificate = made.certificate.get();
    require(X509_set_version(certificate, version3) == 1 &&
            X509_set_pubkey(certificate, made.key.get()) == 1);
    setSerial(certificate);
    setSubject(certificate, subject);
    require(X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate.get())) == 1);
    setUsage(certificate, signer.certificate.get(), subject);
    require(X509_sign(certificate, signer.key.get(), EVP_sha256()) > 0);
    return made;
}

void writePem(const std::string& file, X509* certificate)
{
    const File out(BIO_new_file(file.c_str(), "w"));
    if (!out || PEM_write_bio_X509(out.get(), certificate) != 1 || BIO_flush(out.get()) != 1) {
        throw std::runtime_error("cannot write " + file);
    }
}

boost::asio::ssl::context makeContext(const Identity& identity)
{
    boost::asio::ssl::context context(boost::asio::ssl::context::tls_server);
    require(SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION) == 1);
    require(SSL_CTX_use_certificate(context.native_handle(), identity.certificate.get()) == 1);
    require(SSL_CTX_use_PrivateKey(context.native_handle(), identity.key.get()) == 1);
    return context;
}

}  // namespace

Certificates::Certificates(const std::vector<std::string>& hosts)
    : m_caFile(m_folder.filePath(u"ca.pem"_s).toStdString())
{
    if (!m_folder.isValid()) {
        throw std::runtime_error("cannot make a temporary folder: " + m_folder.errorString().toStdString());
    }
    std::string names = "IP:127.0.0.1,DNS:localhost";
    for (const auto& host : hosts) {
        names += ',' + alternativeName(host);
    }
    const auto ca = makeIdentity({"marksim test authority", {}, days(-60), days(365)}, nullptr);
    writePem(m_caFile, ca.certificate.get());
    const auto add = [this](const QString& kind, const Subject& subject, const Identity* issuer) {
        m_contexts.emplace(kind, makeContext(makeIdentity(subject, issuer)));
    };
    add(u"good"_s, {"marksim", names}, &ca);
    add(u"wrong-host"_s, {"another.example", "DNS:another.example"}, &ca);
    add(u"expired"_s, {"marksim", names, days(-30), days(-1)}, &ca);
    add(u"self-signed"_s, {"marksim", names}, nullptr);
}

}  // namespace marksim
