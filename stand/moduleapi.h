#pragma once

#include "api.h"
#include "goods.h"

#include <QString>
#include <chrono>

namespace marksim {

/// The state that a local module tells of itself.
enum class ModuleState { NotConfigured, Initialization, Ready, SyncError };

[[nodiscard]] QString moduleStateName(ModuleState state);
/// Empty when `name` is none of the names.
[[nodiscard]] std::optional<ModuleState> moduleStateFromName(const QString& name);

/// How a local module is set up.
struct ModuleSetup
{
    QString user;
    QString password;
    QString token;
    ModuleState state = ModuleState::Ready;
    std::chrono::milliseconds readyAfter{1000};  ///< from the acceptance of a token to Ready
    Goods goods;                                 ///< of this module alone, they come before the shared ones
};

/// A local module: takes a token, says how far it is, checks codes from its own copy of the data.
class ModuleApi : public Api
{
public:
    ModuleApi(ModuleSetup setup, const Goods& sharedGoods);

    [[nodiscard]] std::span<const Route> routes() const override;
    [[nodiscard]] std::optional<Answer> refusal(const Request& request) const override;
    [[nodiscard]] Answer answer(std::string_view method, const Request& request, const Twist& twist) override;

    /// As it is now: a module in initialisation becomes ready by itself.
    [[nodiscard]] ModuleState state() const;
    void setState(ModuleState state);
    void setReadyAfter(std::chrono::milliseconds delay) { setup_.readyAfter = delay; }
    /// {"state", "readyAfterMs", "user", "password", "token", "greyList": true, false or null while nobody
    /// has set it}
    [[nodiscard]] QJsonObject toJson() const;

private:
    [[nodiscard]] Answer status() const;
    [[nodiscard]] Answer initialise(const Request& request);
    [[nodiscard]] Answer check(const Request& request, const Twist& twist) const;
    [[nodiscard]] Answer switchGreyList(const Request& request);

    ModuleSetup setup_;
    const Goods& shared_;
    QString inst_;
    ModuleState state_;
    std::chrono::steady_clock::time_point readyAt_;
    std::optional<bool> greyList_;
};

}  // namespace marksim
