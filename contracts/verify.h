#pragma once

#include <chrono>

#include <QLatin1String>
#include <QList>
#include <QString>

#include "contracts/service.h"
#include "result/checkmarkingcodesresult.h"
#include <orvex/args.h>
#include <utils/markingcode.h>

namespace control::args::marking {

/// The arguments of the marking verification action. Whoever asks for a check writes the codes and the
/// settings; the verification service reads them and writes the result.
///
/// A view: it holds nothing itself, the setters change the action. A missing argument, or one that cannot be
/// converted to its type, reads as the type's default: an empty text or list, false, 0 s, a default code or
/// result. Each argument stands under its key, with the type of its getter.
class Verify : public Core
{
public:
    /// The verification service that the check is meant for. Travels in a QVariant.
    enum Service : int {
        NoService = 0,  ///< none, or one that is not known
        Crpt = 1,       ///< "crpt", the marking operator's online service
        Turon = 2,      ///< "turon"
        Esm = 3,        ///< "esm"
    };

    /// Writes `service` into an action that names no service yet; an empty text writes nothing.
    Verify(const Action& action, const QString& service)
        : Core(action)
    {
        if (!service.isEmpty() && !contains(serviceKey)) {
            setService(service);
        }
    }

    static constexpr QLatin1String serviceKey{"service"};
    /// Set by name ("crpt", "turon", "esm", any letter case).
    [[nodiscard]] Service service() const { return read<Service>(serviceKey); }
    void setService(const QString& name) const { write(serviceKey, Service(contracts::serviceNumber(name))); }

    static constexpr QLatin1String sectionKey{"section"};
    /// Settings section that the check belongs to; in lower case however it was written.
    [[nodiscard]] QString section() const { return read<QString>(sectionKey).toLower(); }
    void setSection(const QString& section) const { write(sectionKey, section.toLower()); }

    static constexpr QLatin1String productCodeKey{"productCode"};
    [[nodiscard]] QString productCode() const { return read<QString>(productCodeKey); }
    void setProductCode(const QString& code) const { write(productCodeKey, code); }

    static constexpr QLatin1String packageCodeKey{"packageCode"};
    [[nodiscard]] QString packageCode() const { return read<QString>(packageCodeKey); }
    void setPackageCode(const QString& code) const { write(packageCodeKey, code); }

    static constexpr QLatin1String commitentTinKey{"commitentTin"};
    /// Taxpayer identification number of the principal.
    [[nodiscard]] QString commitentTin() const { return read<QString>(commitentTinKey); }
    void setCommitentTin(const QString& tin) const { write(commitentTinKey, tin); }

    static constexpr QLatin1String markingCodeKey{"markingCode"};
    [[nodiscard]] MarkingCode markingCode() const { return read<MarkingCode>(markingCodeKey); }
    void setMarkingCode(const MarkingCode& code) const { write(markingCodeKey, code); }

    static constexpr QLatin1String markingCodesKey{"markingCodes"};
    [[nodiscard]] QList<MarkingCode> markingCodes() const
    {
        return read<QList<MarkingCode>>(markingCodesKey);
    }
    void setMarkingCodes(const QList<MarkingCode>& codes) const { write(markingCodesKey, codes); }

    static constexpr QLatin1String refundKey{"refund"};
    /// The goods are taken back, not sold.
    [[nodiscard]] bool refund() const { return read<bool>(refundKey); }
    void setRefund(bool refund) const { write(refundKey, refund); }

    static constexpr QLatin1String verifyResultKey{"verifyResult"};
    [[nodiscard]] CheckMarkingCodesResult verifyResult() const
    {
        return read<CheckMarkingCodesResult>(verifyResultKey);
    }
    void setVerifyResult(const CheckMarkingCodesResult& result) const { write(verifyResultKey, result); }

    static constexpr QLatin1String apiKeyKey{"apiKey"};
    /// The key that the check is made with.
    [[nodiscard]] QString apiKey() const { return read<QString>(apiKeyKey); }
    void setApiKey(const QString& key) const { write(apiKeyKey, key); }

    static constexpr QLatin1String requestTimeoutKey{"requestTimeout"};
    /// Time allowed for one HTTP request; 0 leaves it to the service.
    [[nodiscard]] std::chrono::seconds requestTimeout() const
    {
        return read<std::chrono::seconds>(requestTimeoutKey);
    }
    void setRequestTimeout(std::chrono::seconds timeout) const { write(requestTimeoutKey, timeout); }

    static constexpr QLatin1String operationTimeoutKey{"operationTimeout"};
    /// Time allowed for the check's turn and what is done in it, not for a search for sites before it. A
    /// local module is waited for as long again. 0 leaves it to the service.
    [[nodiscard]] std::chrono::seconds operationTimeout() const
    {
        return read<std::chrono::seconds>(operationTimeoutKey);
    }
    void setOperationTimeout(std::chrono::seconds timeout) const { write(operationTimeoutKey, timeout); }
};

}  // namespace control::args::marking
