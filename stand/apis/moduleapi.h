#pragma once

#include "stand/apis/api.h"
#include "stand/goods/goods.h"

#include <QString>
#include <chrono>

namespace marksim {

/// How a local module is set up.
struct ModuleSetup
{
    QString user;
    QString password;
    QString token;
    QString state;                         ///< not_configured, initialization, ready, sync_error
    std::chrono::milliseconds readyAfter;  ///< from the acceptance of a token to "ready"
    Goods goods;                           ///< of this module alone, they come before the shared ones
};

/// A local module: takes a token, says how far it is, checks codes from its own copy of the data.
class ModuleApi
{
public:
    ModuleApi(ModuleSetup setup, const Goods& sharedGoods);

    /// What it answers; only while this object lives.
    [[nodiscard]] Api api();

    /// As it is now: a module in initialisation becomes ready by itself.
    [[nodiscard]] QString state() const;
    void setState(const QString& state);
    void setReadyAfter(std::chrono::milliseconds delay) { m_setup.readyAfter = delay; }
    /// {"state", "readyAfterMs", "user", "password", "token", "greyList": true, false or null while nobody
    /// has set it}
    [[nodiscard]] QJsonObject toJson() const;

private:
    [[nodiscard]] std::optional<Answer> refusal(const Request& request) const;
    [[nodiscard]] Answer status() const;
    [[nodiscard]] Answer initialise(const Request& request);
    [[nodiscard]] Answer check(const Request& request, const QJsonObject& answers) const;
    [[nodiscard]] Answer switchGreyList(const Request& request);
    [[nodiscard]] std::optional<Answer> orderRefusal(const QJsonValue& order, bool mayBeSilent,
                                                     const QString& wrongToken) const;

    ModuleSetup m_setup;
    const Goods& m_shared;
    QString m_inst;
    QString m_state;
    std::chrono::steady_clock::time_point m_readyAt;
    QJsonValue m_greyList;
};

}  // namespace marksim
