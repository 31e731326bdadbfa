#include <QJsonDocument>

#include "benchmarks/figure.h"
#include "benchmarks/result/replies.h"

namespace bench {

Figure measureReply()
{
    Figure figure{"A reply to a result, against the reading of its JSON", "to a result", "QJsonDocument"};
    for (const bool isRefused : {false, true}) {
        for (const int count : {1, 100, 10'000, 100'000}) {
            const QList<MarkingCode> codes = codesOf(count);
            const QByteArray body = isRefused ? refusalFor(codes) : replyFor(codes);
            const int repetitions =
                std::max(1, 1000 / count);  // so that a time is no shorter than a millisecond
            const auto repeated = [repetitions](const auto& work) {
                return [work, repetitions] {
                    const double taken = microseconds([&] {
                        for (int i = 0; i < repetitions; ++i) {
                            work();
                        }
                    });
                    return taken / repetitions;
                };
            };
            const auto medians = mediansByTurns({repeated([&] { (void)resultOf(body); }),
                                                 repeated([&] { (void)QJsonDocument::fromJson(body); })},
                                                std::clamp(200'000 / count, 5, 200));
            figure.rows.push_back({countedCodes(count) + (isRefused ? ", refused" : ", passed"), medians[0],
                                   medians[1], isRefused ? 2.0 : 1.6});
        }
    }
    return figure;
}

}  // namespace bench
