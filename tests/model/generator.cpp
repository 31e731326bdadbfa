#include "tests/model/generator.h"

#include <algorithm>

#include <rapidcheck.h>

namespace {

/// What a number is drawn from, each as often as it stands here. The plainest one comes first: shrinking
/// leads there.
using Choice = std::vector<int>;

/// 0 to `last`, after those that are to be more frequent.
Choice upTo(int last, Choice more = {0})
{
    for (int number = 0; number <= last; ++number) {
        more.push_back(number);
    }
    return more;
}

/// `percent` of the times one of `rare`, otherwise 0.
Choice seldom(size_t percent, const Choice& rare)
{
    Choice choice(rare.size() * 100 / percent - rare.size());
    choice.insert(choice.end(), rare.begin(), rare.end());
    return choice;
}

/// For each kind of step and each of its numbers what it is drawn from.
const std::vector<Choice>& choicesOf(Step::Kind kind)
{
    static const Choice wallStep = seldom(5, {1, -1, 900, 901, -900, -901, 86400, -86400});
    static const Choice latency = {0,       0,       0,       0,        0,       0,       0,
                                   0,       1,       999,     1000,     50000,   1999999, 2000000,
                                   5000000, 5000000, 5000000, 59999000, 60000000};
    static const std::vector<Choice> reply = {seldom(3, {Step::MemberMissing, Step::MemberOfWrongType}),
                                              latency,
                                              {0, 0, 0, 0, 1, 2},
                                              wallStep,
                                              seldom(2, {1}),
                                              upTo(22, {0, 0, 1, 1, 1, 1, 1, 1, 2, 3, 4, 5, 6, 7, 7, 8, 8}),
                                              {0, 0, 0, 1, 1, 2, 3},
                                              upTo(10, {0, 0, 2, 2, 2, 2}),
                                              upTo(5, {0, 0, 0}),
                                              seldom(15, {1, 2, 3, 4})};
    static const std::array<std::vector<Choice>, Step::KindCount> choices = {{
        {upTo(hostCount - 1, {}), {0, 0, 0, 0, 0, 0, 0, 0, 1, 2}},
        {upTo(2, {}), {0, 0, 0, 0, 0, 0, 0, 0, 1, 2}},
        {upTo(3, {})},
        {},
        {{0, 1, 2, 3, 6, 9, 27, 30, 57, 21}, upTo(2, {}), upTo(11, {}), upTo(11, {}), {0, 0, 0, 0, 0, 1}},
        {{0, 1, 100, 999, 1000, 1000, 59999, 60000, 60000, 60000, 60000, 60001, 899999, 900000, 900000,
          900001, 3600000},
         wallStep},
        {upTo(3, {}), {0, 1, -1, 50, 250, 1000, 1000, 900000, -900000}, {0, 1}},
        {{0, 1, 1, 1, 2}, {0, 0, 1, 100, 900001, 900001}, wallStep, {0, 1}},
        reply,
        reply,
        reply,
        {{-1, 0, 1, 60, 60, 60, 900, 86400}, {10, 0, 1, -1, 3000000}, {10, 0, 1, -1}, {1000, 0, 1}},
    }};
    return choices[kind];
}

/// Independent of RapidCheck's notion of a size: the first schedules are as rich as the last ones.
template <class T>
rc::Gen<T> ofAnySize(rc::Gen<T> gen, int size = rc::kNominalSize)
{
    return rc::gen::resize(size, std::move(gen));
}

constexpr int drawnBits = 20;
/// A number for each of a step's, one for its content and one for rare content.
using Drawn = std::array<int, std::tuple_size_v<decltype(Step::n)> + 2>;

Step stepFrom(Step::Kind kind, bool isGood, const Drawn& drawn)
{
    Step step{kind, {}};
    const std::vector<Choice>& choices = choicesOf(kind);
    for (size_t i = 0; i < choices.size() && !(isGood && i >= Step::Status); ++i) {
        step.n[i] = choices[i][size_t(drawn[i]) * choices[i].size() >> drawnBits];
    }
    const auto [content, rare] = std::pair(drawn[step.n.size()], drawn[step.n.size() + 1]);
    if (kind == Step::ListReply || kind == Step::CheckReply) {
        step.n[Step::Content] |= content >> (drawnBits - 12);
    }
    if (kind == Step::ListReply && (rare * 300LL) >> drawnBits == 299) {
        step.n[Step::Content] |= Step::Many;
    }
    return step;
}

rc::Gen<Step> stepOf(Step::Kind kind, bool isGood = false)
{
    auto drawn = ofAnySize(rc::gen::container<Drawn>(rc::gen::inRange(0, 1 << drawnBits)));
    return rc::gen::map(std::move(drawn),
                        [=](const Drawn& numbers) { return stepFrom(kind, isGood, numbers); });
}

/// Whether the step before comes once more in place of this one.
using MaybeAgain = std::pair<bool, Step>;

/// None to `most` steps.
rc::Gen<Schedule> upToSteps(int most, rc::Gen<Step> step)
{
    auto again = rc::gen::weightedElement<bool>({{80, false}, {20, true}});
    auto steps =
        rc::gen::container<std::vector<MaybeAgain>>(rc::gen::pair(std::move(again), std::move(step)));
    return rc::gen::map(ofAnySize(std::move(steps), most), [](const std::vector<MaybeAgain>& drawn) {
        Schedule schedule;
        for (const auto& [isRepeated, chosen] : drawn) {
            schedule.push_back(isRepeated && !schedule.empty() ? schedule.back() : chosen);
        }
        return schedule;
    });
}

/// The same of replies and what else is in store, `badPercent` of them bad.
rc::Gen<Schedule> inStore(size_t badPercent, int most, Step::Kind kind)
{
    return upToSteps(most, rc::gen::weightedOneOf<Step>(
                               {{100 - badPercent, stepOf(kind, true)}, {badPercent, stepOf(kind)}}));
}

rc::Gen<Schedule> inAnyWeather(int most, Step::Kind kind)
{
    return rc::gen::oneOf(inStore(2, most, kind), inStore(25, most, kind), inStore(80, most, kind));
}

rc::Gen<Schedule> sometimes(size_t percent, rc::Gen<Schedule> steps)
{
    return rc::gen::weightedOneOf<Schedule>(
        {{100 - percent, rc::gen::just(Schedule())}, {percent, std::move(steps)}});
}

rc::Gen<Step> action()
{
    return rc::gen::weightedOneOf<Step>({{9, stepOf(Step::Check)},
                                         {3, stepOf(Step::Pass)},
                                         {1, stepOf(Step::Mark)},
                                         {1, stepOf(Step::Update)},
                                         {1, stepOf(Step::AddKey)},
                                         {1, stepOf(Step::AddHost)},
                                         {1, stepOf(Step::HostEvent)}});
}

Schedule joined(const std::vector<Schedule>& parts)
{
    Schedule schedule;
    for (const Schedule& part : parts) {
        schedule.insert(schedule.end(), part.begin(), part.end());
    }
    return schedule;
}

}  // namespace

rc::Gen<Schedule> schedules()
{
    using rc::gen::nonEmpty;
    return rc::gen::apply(
        [](const auto&... parts) { return joined({parts...}); },
        sometimes(40, upToSteps(1, stepOf(Step::Setting))), nonEmpty(upToSteps(3, stepOf(Step::AddHost))),
        sometimes(96, nonEmpty(upToSteps(2, stepOf(Step::AddKey)))),
        sometimes(60, upToSteps(1, stepOf(Step::Update))), sometimes(25, upToSteps(3, stepOf(Step::Mark))),
        nonEmpty(upToSteps(5, action())), sometimes(25, upToSteps(4, stepOf(Step::UpdateCall))),
        inAnyWeather(7, Step::ListReply), inAnyWeather(3, Step::ProbeReply),
        inAnyWeather(7, Step::CheckReply));
}
