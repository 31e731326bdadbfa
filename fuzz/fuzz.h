#pragma once

#include <cstddef>
#include <cstdint>

#include "result/checkmarkingcodesresult.h"
#include "tests/doubles/simulatedclock.h"
#include <network/restclient.h>
#include <utils/markingcode.h>

// What the fuzz targets share. A target is one file with LLVMFuzzerTestOneInput(); what it promises is said
// with require(). Nothing is logged where it can be seen.

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

/// Ends the process as a crash that names `promise` when it is not `kept`.
void require(bool kept, const char* promise);

[[nodiscard]] QByteArray bytesOf(const uint8_t* data, size_t size);

/// Codes that the seeds speak of.
[[nodiscard]] const QList<MarkingCode>& requestedCodes();

/// Every RestClient, and the clock, while it lives: a network that answers whatever is asked with the next
/// line of a text, "<status><how> <body>", where `how` is nothing for a complete reply, "!" for one cut by a
/// fault of the network and "~" for one cut by the deadline. After the last line nobody can be reached. An
/// exchange takes as many milliseconds as its line has bytes.
class Feed : public RestClient
{
public:
    explicit Feed(const QByteArray& text);
    ~Feed() override;

    void setTimeout(int /*seconds*/) override {}
    void setTimeout(std::chrono::milliseconds /*timeout*/) override {}
    void setDeadline(const QDeadlineTimer& /*deadline*/) override {}
    http::Response get(const QUrl& url, const QJsonDocument& body,
                       const QHash<QString, QString>& headers) override;
    http::Response post(const QUrl& url, const QJsonDocument& body,
                        const QHash<QString, QString>& headers) override;

    const SimulatedClock clock;

private:
    QList<QByteArray> m_lines;
};

}  // namespace fuzz
