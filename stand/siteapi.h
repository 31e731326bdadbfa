#pragma once

#include "api.h"
#include "goods.h"

namespace marksim {

/// A CDN site: checks codes and says that it is well.
class SiteApi : public Api
{
public:
    /// `goods` are shared with the other servers and may change between requests.
    SiteApi(std::vector<std::string> keys, const Goods& goods);

    [[nodiscard]] std::span<const Route> routes() const override;
    [[nodiscard]] std::optional<Answer> refusal(const Request& request) const override;
    [[nodiscard]] Answer answer(std::string_view method, const Request& request, const Twist& twist) override;

private:
    std::vector<std::string> keys_;
    const Goods& goods_;
    QString inst_;
};

}  // namespace marksim
