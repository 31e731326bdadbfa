#pragma once

#include <chrono>

#include <QList>
#include <QString>

#include "contracts/service.h"
#include "result/checkmarkingcodesresult.h"
#include <orvex/args.h>
#include <utils/export.h>
#include <utils/markingcode.h>

namespace control::args::marking {

/// The arguments of the marking verification action. Whoever asks for a check writes the codes and the
/// settings; the verification service reads them and writes the result.
///
/// A view: it holds nothing itself, the setters change the action. A missing argument, or one that cannot be
/// converted to its type, reads as the type's default: an empty text or list, false, 0 s, a default code or
/// result.
class ORVEX_EXPORT Verify : public Core
{
public:
    using Service = ::marking::Service;
    using enum ::marking::Service;

    /// Writes `service` into an action that names no service yet; an empty text writes nothing.
    Verify(const Action& action, const QString& service);
    ~Verify() override;
    Verify(const Verify&) = default;
    Verify(Verify&&) = default;
    Verify& operator=(const Verify&) = default;
    Verify& operator=(Verify&&) = default;

    /// Who is to check; set by name ("crpt", "turon", "esm", any letter case).
    [[nodiscard]] Service service() const;
    void setService(const QString& name) const;

    /// Settings section that the check belongs to; in lower case however it was written.
    [[nodiscard]] QString section() const;
    void setSection(const QString& section) const;

    [[nodiscard]] QString productCode() const;
    void setProductCode(const QString& code) const;

    [[nodiscard]] QString packageCode() const;
    void setPackageCode(const QString& code) const;

    /// Taxpayer identification number of the principal.
    [[nodiscard]] QString commitentTin() const;
    void setCommitentTin(const QString& tin) const;

    [[nodiscard]] MarkingCode markingCode() const;
    void setMarkingCode(const MarkingCode& code) const;

    [[nodiscard]] QList<MarkingCode> markingCodes() const;
    void setMarkingCodes(const QList<MarkingCode>& codes) const;

    /// The goods are taken back, not sold.
    [[nodiscard]] bool refund() const;
    void setRefund(bool refund) const;

    [[nodiscard]] CheckMarkingCodesResult verifyResult() const;
    void setVerifyResult(const CheckMarkingCodesResult& result) const;

    /// The key that the check is made with.
    [[nodiscard]] QString apiKey() const;
    void setApiKey(const QString& key) const;

    /// Time allowed for one HTTP request; 0 leaves it to the service.
    [[nodiscard]] std::chrono::seconds requestTimeout() const;
    void setRequestTimeout(std::chrono::seconds timeout) const;

    /// Time allowed for the whole check; 0 leaves it to the service.
    [[nodiscard]] std::chrono::seconds operationTimeout() const;
    void setOperationTimeout(std::chrono::seconds timeout) const;
};

}  // namespace control::args::marking
