#pragma once

#include "behaviour.h"

#include <deque>
#include <string_view>

namespace marksim {

/// The behaviours of one server, in order: the first that fits treats a request or connection; one that is
/// limited to a number of them leaves the list with the last.
class BehaviourList
{
public:
    void assign(std::vector<Behaviour> behaviours);
    void append(std::vector<Behaviour> behaviours);
    void prepend(std::vector<Behaviour> behaviours);
    /// Takes off those that were given like one of `behaviours`; "times" makes no difference.
    void remove(const std::vector<Behaviour>& behaviours);
    [[nodiscard]] std::size_t size() const { return behaviours_.size(); }

    /// Whether connections are to be accepted (Normal) or what keeps them out.
    [[nodiscard]] Connect door() const;
    [[nodiscard]] Behaviour takeForConnection();
    /// `method` is empty for a request to no known method.
    [[nodiscard]] Behaviour takeForRequest(std::string_view method);

    [[nodiscard]] QJsonArray toJson() const;

private:
    template <typename Fits>
    Behaviour take(Fits fits);

    std::deque<Behaviour> behaviours_;
};

}  // namespace marksim
