#include "certificates.h"

#include <chrono>
#include <fstream>
#include <memory>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace marksim {
namespace {

using Days = std::chrono::duration<long, std::ratio<86400>>;

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
using Paper = std::unique_ptr<X509, Freed<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freed<X509_EXTENSION_free>>;
using Memory = std::unique_ptr<BIO, Freed<BIO_free_all>>;

/// What is written into one certificate.
struct Subject
{
    std::string commonName;
    std::string alternativeNames;  ///< in OpenSSL's notation; empty for an authority
    Days from{-30};                ///< relative to now
    Days to{365};
};

struct Identity
{
    Key key;
    Paper paper;
};

void require(bool done)
{
    if (!done)
        throw std::runtime_error(std::string("cannot make certificates: ") +
                                 ERR_error_string(ERR_get_error(), nullptr));
}

void addExtension(X509* paper, X509* issuer, int kind, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, paper, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension && X509_add_ext(paper, extension.get(), -1) == 1);
}

void setSerial(X509* paper)
{
    std::uint64_t serial = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
    require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(paper), serial >> 1) == 1);
}

void setSubject(X509* paper, const Subject& subject)
{
    auto* name = X509_get_subject_name(paper);
    const auto* text = reinterpret_cast<const unsigned char*>(subject.commonName.c_str());
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1);
    require(X509_gmtime_adj(X509_getm_notBefore(paper), std::chrono::seconds(subject.from).count()));
    require(X509_gmtime_adj(X509_getm_notAfter(paper), std::chrono::seconds(subject.to).count()));
}

void setUsage(X509* paper, X509* issuer, const Subject& subject)
{
    const bool authority = subject.alternativeNames.empty();
    addExtension(paper, issuer, NID_basic_constraints, authority ? "critical,CA:TRUE" : "critical,CA:FALSE");
    addExtension(paper, issuer, NID_key_usage,
                 authority ? "critical,keyCertSign" : "critical,digitalSignature");
    if (!authority)
        addExtension(paper, issuer, NID_subject_alt_name, subject.alternativeNames);
}

/// Signed by `issuer`, by itself without one.
Identity makeIdentity(const Subject& subject, const Identity* issuer)
{
    constexpr long version3 = 2;
    Identity made{Key(EVP_EC_gen("P-256")), Paper(X509_new())};
    require(made.key && made.paper);
    const auto& signer = issuer ? *issuer : made;
    auto* paper = made.paper.get();
    require(X509_set_version(paper, version3) == 1 && X509_set_pubkey(paper, made.key.get()) == 1);
    setSerial(paper);
    setSubject(paper, subject);
    require(X509_set_issuer_name(paper, X509_get_subject_name(signer.paper.get())) == 1);
    setUsage(paper, signer.paper.get(), subject);
    require(X509_sign(paper, signer.key.get(), EVP_sha256()) > 0);
    return made;
}

void writePem(const std::string& file, X509* paper)
{
    const Memory memory(BIO_new(BIO_s_mem()));
    require(memory && PEM_write_bio_X509(memory.get(), paper) == 1);
    char* text = nullptr;
    const auto size = BIO_get_mem_data(memory.get(), &text);
    std::ofstream out(file, std::ios::binary);
    if (!out.write(text, size).flush())
        throw std::runtime_error("cannot write " + file);
}

boost::asio::ssl::context makeContext(const Identity& identity)
{
    boost::asio::ssl::context context(boost::asio::ssl::context::tls_server);
    require(SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION) == 1);
    require(SSL_CTX_use_certificate(context.native_handle(), identity.paper.get()) == 1);
    require(SSL_CTX_use_PrivateKey(context.native_handle(), identity.key.get()) == 1);
    return context;
}

}  // namespace

Certificates::Certificates(const std::string& address)
    : caFile_((folder_.path() / "ca.pem").string())
{
    const auto names = "IP:127.0.0.1,DNS:localhost,IP:" + address;
    const auto ca = makeIdentity({"marksim test authority", {}, Days(-60), Days(365)}, nullptr);
    writePem(caFile_, ca.paper.get());
    const auto add = [this](Certificate certificate, const Subject& subject, const Identity* issuer) {
        contexts_.emplace(certificate, makeContext(makeIdentity(subject, issuer)));
    };
    add(Certificate::Good, {"marksim", names}, &ca);
    add(Certificate::WrongHost, {"another.example", "DNS:another.example"}, &ca);
    add(Certificate::Expired, {"marksim", names, Days(-30), Days(-1)}, &ca);
    add(Certificate::SelfSigned, {"marksim", names}, nullptr);
}

}  // namespace marksim
