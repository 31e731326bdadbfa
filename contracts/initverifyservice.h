#pragma once

#include <QList>
#include <QString>

#include "contracts/service.h"
#include <orvex/events.h>
#include <utils/export.h>

namespace events::marking {

/// The event that hands a verification service its connection settings
/// (EActivityListener::InitVerifyService).
///
/// A view: it holds nothing itself, the setters change the event. A missing value, or one that cannot be
/// converted to its type, reads as the type's default.
class ORVEX_EXPORT InitVerifyService : public Wrapper
{
public:
    using Service = ::marking::Service;
    using enum ::marking::Service;

    using Wrapper::Wrapper;
    ~InitVerifyService() override;

    /// Whose settings they are; set by name ("crpt", "turon", "esm", any letter case).
    [[nodiscard]] Service service() const;
    void setService(const QString& name) const;

    /// Settings section that they belong to; in lower case however it was written.
    [[nodiscard]] QString section() const;
    void setSection(const QString& section) const;

    /// Addresses of the operator's hosts, each as a user writes it ("markirovka.example", "https://...").
    [[nodiscard]] QList<QString> hosts() const;
    void setHosts(const QList<QString>& hosts) const;

    /// API keys of the online service.
    [[nodiscard]] QList<QString> keys() const;
    void setKeys(const QList<QString>& keys) const;

    // For services that are reached by address and credentials.
    [[nodiscard]] QString address() const;
    void setAddress(const QString& address) const;
    [[nodiscard]] QString login() const;
    void setLogin(const QString& login) const;
    [[nodiscard]] QString password() const;
    void setPassword(const QString& password) const;
    [[nodiscard]] QString owner() const;
    void setOwner(const QString& owner) const;
};

}  // namespace events::marking
