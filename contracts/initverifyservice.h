#pragma once

#include <QLatin1String>
#include <QList>
#include <QString>

#include "contracts/service.h"
#include <orvex/events.h>

namespace events::marking {

/// The event that hands a verification service its connection settings
/// (EActivityListener::InitVerifyService).
///
/// A view: it holds nothing itself, the setters change the event. A missing value, or one that cannot be
/// converted to its type, reads as the type's default. Each value stands under its key, with the type of its
/// getter.
class InitVerifyService : public Wrapper
{
public:
    /// The verification service that the settings are meant for. Travels in a QVariant.
    enum Service : int {
        NoService = 0,  ///< none, or one that is not known
        Crpt = 1,       ///< "crpt", the marking operator's online service
        Turon = 2,      ///< "turon"
        Esm = 3,        ///< "esm"
    };

    using Wrapper::Wrapper;

    static constexpr QLatin1String serviceKey{"service"};
    /// Set by name ("crpt", "turon", "esm", any letter case).
    [[nodiscard]] Service service() const { return read<Service>(serviceKey); }
    void setService(const QString& name) const { write(serviceKey, Service(contracts::serviceNumber(name))); }

    static constexpr QLatin1String sectionKey{"section"};
    /// Settings section that they belong to; in lower case however it was written.
    [[nodiscard]] QString section() const { return read<QString>(sectionKey).toLower(); }
    void setSection(const QString& section) const { write(sectionKey, section.toLower()); }

    static constexpr QLatin1String hostsKey{"hosts"};
    /// Addresses of the operator's hosts, each as a user writes it ("markirovka.example", "https://...").
    [[nodiscard]] QList<QString> hosts() const { return read<QList<QString>>(hostsKey); }
    void setHosts(const QList<QString>& hosts) const { write(hostsKey, hosts); }

    static constexpr QLatin1String keysKey{"keys"};
    /// API keys of the online service.
    [[nodiscard]] QList<QString> keys() const { return read<QList<QString>>(keysKey); }
    void setKeys(const QList<QString>& keys) const { write(keysKey, keys); }

    // For services that are reached by address and credentials.

    static constexpr QLatin1String addressKey{"address"};
    [[nodiscard]] QString address() const { return read<QString>(addressKey); }
    void setAddress(const QString& address) const { write(addressKey, address); }

    static constexpr QLatin1String loginKey{"login"};
    [[nodiscard]] QString login() const { return read<QString>(loginKey); }
    void setLogin(const QString& login) const { write(loginKey, login); }

    static constexpr QLatin1String passwordKey{"password"};
    [[nodiscard]] QString password() const { return read<QString>(passwordKey); }
    void setPassword(const QString& password) const { write(passwordKey, password); }

    static constexpr QLatin1String ownerKey{"owner"};
    [[nodiscard]] QString owner() const { return read<QString>(ownerKey); }
    void setOwner(const QString& owner) const { write(ownerKey, owner); }
};

}  // namespace events::marking
