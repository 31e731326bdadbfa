#include "contracts/initverifyservice.h"

namespace events::marking {

namespace {
const auto ServiceKey = QStringLiteral("service");
const auto SectionKey = QStringLiteral("section");
const auto HostsKey = QStringLiteral("hosts");
const auto KeysKey = QStringLiteral("keys");
const auto AddressKey = QStringLiteral("address");
const auto LoginKey = QStringLiteral("login");
const auto PasswordKey = QStringLiteral("password");
const auto OwnerKey = QStringLiteral("owner");
}  // namespace

InitVerifyService::~InitVerifyService() = default;

InitVerifyService::Service InitVerifyService::service() const
{
    return read<Service>(ServiceKey);
}
void InitVerifyService::setService(const QString& name) const
{
    write(ServiceKey, ::marking::serviceFromText(name));
}

QString InitVerifyService::section() const
{
    return read<QString>(SectionKey).toLower();
}
void InitVerifyService::setSection(const QString& section) const
{
    write(SectionKey, section.toLower());
}

QList<QString> InitVerifyService::hosts() const
{
    return read<QList<QString>>(HostsKey);
}
void InitVerifyService::setHosts(const QList<QString>& hosts) const
{
    write(HostsKey, hosts);
}

QList<QString> InitVerifyService::keys() const
{
    return read<QList<QString>>(KeysKey);
}
void InitVerifyService::setKeys(const QList<QString>& keys) const
{
    write(KeysKey, keys);
}

QString InitVerifyService::address() const
{
    return read<QString>(AddressKey);
}
void InitVerifyService::setAddress(const QString& address) const
{
    write(AddressKey, address);
}

QString InitVerifyService::login() const
{
    return read<QString>(LoginKey);
}
void InitVerifyService::setLogin(const QString& login) const
{
    write(LoginKey, login);
}

QString InitVerifyService::password() const
{
    return read<QString>(PasswordKey);
}
void InitVerifyService::setPassword(const QString& password) const
{
    write(PasswordKey, password);
}

QString InitVerifyService::owner() const
{
    return read<QString>(OwnerKey);
}
void InitVerifyService::setOwner(const QString& owner) const
{
    write(OwnerKey, owner);
}

}  // namespace events::marking
