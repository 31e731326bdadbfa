#include "fuzz/fuzz.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <log4qt/logmanager.h>

using http::NetworkError;

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    Log4Qt::LogManager::configure({.level = Log4Qt::Level::Debug, .file = QStringLiteral("/dev/null")});
    return 0;
}

namespace fuzz {

namespace {

http::Response responseOf(const QByteArray& line)
{
    qsizetype head = 0;
    while (head < std::min<qsizetype>(line.size(), 3) && line[head] >= '0' && line[head] <= '9') {
        ++head;
    }
    const int status = line.first(head).toInt();
    const char given = head < line.size() ? line[head] : ' ';
    const char how = status == 0 && given != '~' ? '!' : given;

    http::Response response;
    response.setStatus(status);
    response.setBody(line.mid(head + 1));
    response.setTimeout(how == '~');
    response.setNetworkError(how == '!');
    response.setNetworkError(how == '~'   ? NetworkError::Timeout
                             : how == '!' ? NetworkError::RemoteHostClosed
                                          : http::networkErrorOfStatus(status));
    return response;
}

}  // namespace

void require(bool kept, const char* promise)
{
    if (!kept) {
        std::fprintf(stderr, "broken promise: %s\n", promise);
        std::abort();
    }
}

QByteArray bytesOf(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), qsizetype(size)};
}

const QList<MarkingCode>& requestedCodes()
{
    static const QList<MarkingCode> codes = {
        MarkingCode(QStringLiteral("0104600439931256215Qbag!\u001d93Zjqw")),
        MarkingCode(QStringLiteral("04606200810010%A4cGofAkCp753I")),
        MarkingCode(QStringLiteral("RU-401301-AAA0277031")),
        MarkingCode(QStringLiteral("]C14601234567893")),
    };
    return codes;
}

Feed::Feed(const QByteArray& text)
    : m_lines(text.split('\n'))
{
    MockFactory<RestClient>::mocked = this;
}

Feed::~Feed()
{
    MockFactory<RestClient>::mocked = nullptr;
}

http::Response Feed::get(const QUrl& url, const QJsonDocument& /*body*/,
                         const QHash<QString, QString>& /*headers*/)
{
    const QByteArray line = m_lines.isEmpty() ? QByteArray() : m_lines.takeFirst();
    clock.advance(std::chrono::milliseconds(line.size()));
    http::Response response = responseOf(line);
    response.setUrl(url);
    return response;
}

http::Response Feed::post(const QUrl& url, const QJsonDocument& body, const QHash<QString, QString>& headers)
{
    return get(url, body, headers);
}

}  // namespace fuzz
