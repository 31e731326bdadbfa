#include "poshost/story/summary.h"

#include <array>

#include <QProcess>
#include <QSaveFile>

#include "poshost/language.h"
#include "poshost/terminal/fatalerror.h"

namespace poshost {

namespace {

constexpr const char* script = R"(set terminal svg size 960,400 font 'sans,12' background 'white'
set encoding utf8
set title '@0'
set xdata time
set timefmt '%Y-%m-%dT%H:%M'
set format x "%H:%M\n%d.%m"
set xrange ['$first':'$last']
set yrange [0:*]
set boxwidth 3200 absolute
set style fill solid
set grid y
set key outside right top
plot $checks using (timecolumn(1)+1800):($2+$3+$4+$5+$6) with boxes lc rgb '#2e7d32' title '@1', \
     $checks using (timecolumn(1)+1800):($3+$4+$5+$6) with boxes lc rgb '#1565c0' title '@2', \
     $checks using (timecolumn(1)+1800):($4+$5+$6) with boxes lc rgb '#f9a825' title '@3', \
     $checks using (timecolumn(1)+1800):($5+$6) with boxes lc rgb '#c62828' title '@4', \
     $checks using (timecolumn(1)+1800):6 with boxes lc rgb '#757575' title '@5'
)";

/// Of the picture, then of its columns: "@0" and so on in the script.
constexpr std::array titles = {
    Text{u"Checks of marking codes by hour", u"Проверки кодов маркировки по часам"},
    Text{u"passed", u"прошли"},
    Text{u"local module", u"локальный модуль"},
    Text{u"no check", u"без проверки"},
    Text{u"refused", u"отказ"},
    Text{u"not finished", u"не закончено"},
};

QString timeText(const QDateTime& time)
{
    return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm"));
}

/// An hour a line; the columns add up to its checks.
QString dataOf(const Summary& summary)
{
    QString data;
    for (auto hour = summary.hours.begin(); hour != summary.hours.end(); ++hour) {
        const int counts[] = {hour->of(Outcome::Passed) - hour->passedByModule, hour->passedByModule,
                              hour->of(Outcome::Permitted), hour->of(Outcome::Refused),
                              hour->of(Outcome::Unfinished)};
        data += timeText(hour.key());
        for (const int count : counts) {
            data += QStringLiteral(" %1").arg(count);
        }
        data += u'\n';
    }
    return data;
}

QByteArray drawn(const QString& commands)
{
    QProcess gnuplot;
    gnuplot.start(QStringLiteral("gnuplot"), {});
    if (!gnuplot.waitForStarted()) {
        refuse(QStringLiteral("story: gnuplot cannot be run: %1; --plot needs it, on Debian the package "
                              "gnuplot-nox")
                   .arg(gnuplot.errorString()));
    }
    gnuplot.write(commands.toUtf8());
    gnuplot.closeWriteChannel();
    constexpr int limitMs = 60'000;
    if (!gnuplot.waitForFinished(limitMs) || gnuplot.exitStatus() != QProcess::NormalExit ||
        gnuplot.exitCode() != 0) {
        refuse(QStringLiteral("story: gnuplot failed: %1")
                   .arg(QString::fromLocal8Bit(gnuplot.readAllStandardError())));
    }
    return gnuplot.readAllStandardOutput();
}

}  // namespace

void plot(const Summary& summary, const QString& file)
{
    if (summary.hours.isEmpty()) {
        refuse(QStringLiteral("story: no check to draw; ask for others or leave --plot out"));
    }
    constexpr int hour = 3600;  // seconds
    QString commands = QString::fromUtf8(script);
    commands.replace(QLatin1String("$first"), timeText(summary.hours.firstKey()))
        .replace(QLatin1String("$last"), timeText(summary.hours.lastKey().addSecs(hour)));
    for (size_t i = 0; i < titles.size(); ++i) {
        commands.replace(QStringLiteral("@%1").arg(i), said(titles.at(i)));
    }
    const QByteArray picture =
        drawn(QStringLiteral("$checks << EOD\n%1EOD\n").arg(dataOf(summary)) + commands);
    QSaveFile saved(file);
    if (!saved.open(QIODevice::WriteOnly) || saved.write(picture) != picture.size() || !saved.commit()) {
        refuse(QStringLiteral("story: --plot %1: %2; name another file").arg(file, saved.errorString()));
    }
}

}  // namespace poshost
