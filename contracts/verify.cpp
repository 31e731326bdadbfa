#include "contracts/verify.h"

namespace control::args::marking {

namespace {
const auto ServiceKey = QStringLiteral("service");
const auto SectionKey = QStringLiteral("section");
const auto ProductCodeKey = QStringLiteral("productCode");
const auto PackageCodeKey = QStringLiteral("packageCode");
const auto CommitentTinKey = QStringLiteral("commitentTin");
const auto MarkingCodeKey = QStringLiteral("markingCode");
const auto MarkingCodesKey = QStringLiteral("markingCodes");
const auto RefundKey = QStringLiteral("refund");
const auto VerifyResultKey = QStringLiteral("verifyResult");
const auto ApiKeyKey = QStringLiteral("apiKey");
const auto RequestTimeoutKey = QStringLiteral("requestTimeout");
const auto OperationTimeoutKey = QStringLiteral("operationTimeout");
}  // namespace

Verify::Verify(const Action& action, const QString& service)
    : Core(action)
{
    if (!service.isEmpty() && !contains(ServiceKey)) {
        setService(service);
    }
}

Verify::~Verify() = default;

Verify::Service Verify::service() const
{
    return read<Service>(ServiceKey);
}
void Verify::setService(const QString& name) const
{
    write(ServiceKey, ::marking::serviceFromText(name));
}

QString Verify::section() const
{
    return read<QString>(SectionKey).toLower();
}
void Verify::setSection(const QString& section) const
{
    write(SectionKey, section.toLower());
}

QString Verify::productCode() const
{
    return read<QString>(ProductCodeKey);
}
void Verify::setProductCode(const QString& code) const
{
    write(ProductCodeKey, code);
}

QString Verify::packageCode() const
{
    return read<QString>(PackageCodeKey);
}
void Verify::setPackageCode(const QString& code) const
{
    write(PackageCodeKey, code);
}

QString Verify::commitentTin() const
{
    return read<QString>(CommitentTinKey);
}
void Verify::setCommitentTin(const QString& tin) const
{
    write(CommitentTinKey, tin);
}

MarkingCode Verify::markingCode() const
{
    return read<MarkingCode>(MarkingCodeKey);
}
void Verify::setMarkingCode(const MarkingCode& code) const
{
    write(MarkingCodeKey, code);
}

QList<MarkingCode> Verify::markingCodes() const
{
    return read<QList<MarkingCode>>(MarkingCodesKey);
}
void Verify::setMarkingCodes(const QList<MarkingCode>& codes) const
{
    write(MarkingCodesKey, codes);
}

bool Verify::refund() const
{
    return read<bool>(RefundKey);
}
void Verify::setRefund(bool refund) const
{
    write(RefundKey, refund);
}

CheckMarkingCodesResult Verify::verifyResult() const
{
    return read<CheckMarkingCodesResult>(VerifyResultKey);
}
void Verify::setVerifyResult(const CheckMarkingCodesResult& result) const
{
    write(VerifyResultKey, result);
}

QString Verify::apiKey() const
{
    return read<QString>(ApiKeyKey);
}
void Verify::setApiKey(const QString& key) const
{
    write(ApiKeyKey, key);
}

std::chrono::seconds Verify::requestTimeout() const
{
    return read<std::chrono::seconds>(RequestTimeoutKey);
}
void Verify::setRequestTimeout(std::chrono::seconds timeout) const
{
    write(RequestTimeoutKey, timeout);
}

std::chrono::seconds Verify::operationTimeout() const
{
    return read<std::chrono::seconds>(OperationTimeoutKey);
}
void Verify::setOperationTimeout(std::chrono::seconds timeout) const
{
    write(OperationTimeoutKey, timeout);
}

}  // namespace control::args::marking
