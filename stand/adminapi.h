#pragma once

#include "jsonreader.h"
#include "service.h"

#include <array>
#include <string>
#include <string_view>

namespace marksim {

class Stand;

/// The admin port: looks into the stand and changes how it behaves while it runs. All that it changes is in
/// memory, and bounded: what does not fit is refused.
class AdminApi : public Service
{
public:
    explicit AdminApi(Stand& stand)
        : stand_(stand)
    {
    }

    Behaviour welcome() override { return {}; }
    Exchange serve(const Request& request, const ConnectionInfo& connection) override;
    void ended(std::uint64_t, int, Outcome) override {}
    [[nodiscard]] Answer refusal(int status, const QString& reason) const override;
    [[nodiscard]] std::uint64_t largestBody() const override { return 4UL * 1024 * 1024; }

private:
    /// One method: a path of its own, or one with a name at its end.
    struct AdminRoute
    {
        std::string_view verb;
        std::string_view path;
        Answer (AdminApi::*handle)(const Request& request, const std::string& name);
        std::array<std::string_view, 4> parameters = {};  ///< that it knows
    };

    [[nodiscard]] Answer answer(const Request& request);
    [[nodiscard]] Answer answer(const AdminRoute& route, const Request& request);
    [[nodiscard]] Answer state(const Request& request, const std::string& name);
    [[nodiscard]] Answer requests(const Request& request, const std::string& name);
    [[nodiscard]] Answer oneRequest(const Request& request, const std::string& name);
    [[nodiscard]] Answer forgetRequests(const Request& request, const std::string& name);
    [[nodiscard]] Answer behaviours(const Request& request, const std::string& name);
    [[nodiscard]] Answer setBehaviours(const Request& request, const std::string& name);
    [[nodiscard]] Answer addBehaviours(const Request& request, const std::string& name);
    [[nodiscard]] Answer removeBehaviours(const Request& request, const std::string& name);
    [[nodiscard]] Answer listGoods(const Request& request, const std::string& name);
    [[nodiscard]] Answer good(const Request& request, const std::string& name);
    [[nodiscard]] Answer setGood(const Request& request, const std::string& name);
    [[nodiscard]] Answer removeGood(const Request& request, const std::string& name);
    [[nodiscard]] Answer module(const Request& request, const std::string& name);
    [[nodiscard]] Answer setModule(const Request& request, const std::string& name);
    [[nodiscard]] Answer playScenario(const Request& request, const std::string& name);
    [[nodiscard]] Answer listScenarios(const Request& request, const std::string& name);
    [[nodiscard]] Answer playShipped(const Request& request, const std::string& name);
    [[nodiscard]] Answer reset(const Request& request, const std::string& name);

    static const std::initializer_list<AdminRoute> routes;

    Stand& stand_;
};

}  // namespace marksim
