#pragma once

#include "api.h"

#include <QStringList>
#include <functional>

namespace marksim {

/// An operator host: names the CDN sites and says that it is well.
class OperatorApi : public Api
{
public:
    /// `sites` gives the base addresses to be listed, asked anew for every request.
    OperatorApi(std::vector<std::string> keys, std::function<QStringList()> sites);

    [[nodiscard]] std::span<const Route> routes() const override;
    [[nodiscard]] std::optional<Answer> refusal(const Request& request) const override;
    [[nodiscard]] Answer answer(std::string_view method, const Request& request, const Twist& twist) override;

private:
    std::vector<std::string> keys_;
    std::function<QStringList()> sites_;
};

}  // namespace marksim
