#include "pagefiles.h"

#include <QFile>
#include <QRegularExpression>
#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

std::string typeOf(const QString& name)
{
    if (name.endsWith(".html"_L1))
        return "text/html;charset=UTF-8";
    if (name.endsWith(".css"_L1))
        return "text/css;charset=UTF-8";
    return name.endsWith(".svg"_L1) ? "image/svg+xml" : "text/javascript;charset=UTF-8";
}

}  // namespace

std::optional<Answer> pageFile(const std::string& path)
{
    static const QRegularExpression fileName(u"^/([a-z]+\\.(html|css|js|svg))$"_s);
    const auto match = fileName.match(path == "/" ? u"/index.html"_s : QString::fromStdString(path));
    QFile file(u":/page/"_s + match.captured(1));
    if (!match.hasMatch() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return Answer{200, {{"Content-Type", typeOf(match.captured(1))}}, file.readAll().toStdString()};
}

void confine(Answer& answer)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> headers = {{
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
         "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
         "trusted-types 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Cache-Control", "no-store"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
    }};
    answer.headers.insert(answer.headers.end(), headers.begin(), headers.end());
}

}  // namespace marksim
