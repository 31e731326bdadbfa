#include <gtest/gtest.h>

#include <limits>

#include <QTemporaryDir>

#include <config/config.h>

#include "printers.h"

namespace {

class ConfigTest : public testing::Test
{
protected:
    bool load(const QByteArray& text)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        return config.load(path, &error);
    }
    QString value(const char* key) const
    {
        return config.getString(QString::fromLatin1(key), QStringLiteral("<none>"));
    }

    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("settings.ini"));
    Config config;
    QString error;
};

using ConfigValue = ConfigTest;

TEST_F(ConfigValue, StandsAsWritten)
{
    const QByteArray values[] = {"a;b",        "a # b", "\"quoted\"", "\"half", "%1",    "a,b",
                                 "c:\\dir\\n", "a=b=c", "<<<tag",     "[x]",    "$HOME", "ключ",
                                 "a\tb",       "a  b",  "'",          ""};
    for (const QByteArray& text : values) {
        ASSERT_TRUE(load("[s]\n k \t= " + text + " \t\nnext=1\n"))
            << text.toStdString() << ": " << error.toStdString();
        EXPECT_EQ(value("s:k"), QString::fromUtf8(text));
        EXPECT_EQ(value("s:next"), QStringLiteral("1"));
    }
}

TEST_F(ConfigValue, IsReadByType)
{
    ASSERT_TRUE(load("[n]\na=5\nb=-5\nc=5x\nd=\ne=2147483648\nf=2147483647\n"
                     "[b]\na=TRUE\nb=yes\nc=On\nd=1\ne=False\nf=no\ng=oFF\nh=0\ni=2\nj=\n"
                     "[l]\na= x, ,y ,, \"z\"\nb=\nc=one\n"));
    const QList<int> numbers = {5, -5, 42, 42, 42, std::numeric_limits<int>::max(), 42};
    for (qsizetype i = 0; i < numbers.size(); ++i) {
        EXPECT_EQ(config.getInt(QStringLiteral("n:%1").arg(QChar(u'a' + ushort(i))), 42), numbers[i]) << i;
    }
    for (const bool fallback : {false, true}) {
        const QList<bool> flags = {true,  true,  true,     true,     false,   false,
                                   false, false, fallback, fallback, fallback};
        for (qsizetype i = 0; i < flags.size(); ++i) {
            EXPECT_EQ(config.getBool(QStringLiteral("b:%1").arg(QChar(u'a' + ushort(i))), fallback), flags[i])
                << i;
        }
    }
    EXPECT_EQ(config.getList(QStringLiteral("l:a")),
              QStringList({QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("\"z\"")}));
    EXPECT_TRUE(config.getList(QStringLiteral("l:b")).isEmpty());
    EXPECT_EQ(config.getList(QStringLiteral("l:c")), QStringList(QStringLiteral("one")));
    EXPECT_TRUE(config.getList(QStringLiteral("l:none")).isEmpty());
}

TEST_F(ConfigValue, MayBePresentAndEmpty)
{
    ASSERT_TRUE(load("[s]\nempty=\n"));
    EXPECT_TRUE(config.contains(QStringLiteral("s:empty")));
    EXPECT_EQ(value("s:empty"), QString());
    for (const char* missing : {"s:other", "S:empty", "s:Empty", "t:empty", "empty", ":empty", ""}) {
        EXPECT_FALSE(config.contains(QString::fromLatin1(missing))) << missing;
        EXPECT_EQ(value(missing), QStringLiteral("<none>")) << missing;
    }
}

TEST_F(ConfigValue, CanBeSet)
{
    ASSERT_TRUE(load("[a]\nk=1\n[b]\nk=1\n"));
    config.setValue(QStringLiteral("a:k"), QStringLiteral("2 ; 3"));
    config.setValue(QStringLiteral("http://c:k"), QStringLiteral("4"));
    config.setValue(QStringLiteral("no section"), QStringLiteral("5"));
    EXPECT_EQ(value("a:k"), QStringLiteral("2 ; 3"));
    EXPECT_EQ(value("http://c:k"), QStringLiteral("4"));
    EXPECT_EQ(config.sections(),
              QStringList({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("http://c")}));
    config.clear();
    EXPECT_TRUE(config.sections().isEmpty());
}

using ConfigFile = ConfigTest;

TEST_F(ConfigFile, MayHaveAnyLineEndsAndAByteOrderMark)
{
    for (const char* newline : {"\n", "\r\n", "\r"}) {
        for (const char* mark : {"", "\xEF\xBB\xBF"}) {
            QByteArray text = QByteArray(mark) + "; first\n[ s ] ; note\n# = comment\nключ = 1\n\n ;x=y\nb=2";
            ASSERT_TRUE(load(text.replace("\n", newline))) << error.toStdString();
            EXPECT_EQ(config.sections(), QStringList(QStringLiteral("s")));
            EXPECT_EQ(config.keys(QStringLiteral("s")),
                      QStringList({QStringLiteral("ключ"), QStringLiteral("b")}));
            EXPECT_EQ(value("s:b"), QStringLiteral("2"));
        }
    }
}

TEST_F(ConfigFile, KeepsItsOrderAndTakesTheLastValue)
{
    ASSERT_TRUE(load("[LMCHZ 2]\nk=1\n[Other]\n[LMCHZ]\n[ЛМ1]\n[LMCHZ 1]\n[LMCHZ 2]\na=3\nk=2\n"));
    const struct
    {
        const char16_t* wildcard;
        QString names;
    } cases[] = {
        {u"*", QStringLiteral("LMCHZ 2|Other|LMCHZ|ЛМ1|LMCHZ 1")},
        {u"LMCHZ*", QStringLiteral("LMCHZ 2|LMCHZ|LMCHZ 1")},
        {u"LMCHZ ?", QStringLiteral("LMCHZ 2|LMCHZ 1")},
        {u"LMCHZ [13]", QStringLiteral("LMCHZ 1")},
        {u"?М?", QStringLiteral("ЛМ1")},
        {u"lmchz*", QString()},
        {u"MCHZ", QString()},
        {u"", QString()},
    };
    for (const auto& [wildcard, names] : cases) {
        EXPECT_EQ(config.sections(QString::fromUtf16(wildcard)).join(u'|'), names);
    }
    EXPECT_EQ(value("LMCHZ 2:k"), QStringLiteral("2"));
    EXPECT_EQ(config.keys(QStringLiteral("LMCHZ 2")),
              QStringList({QStringLiteral("k"), QStringLiteral("a")}));
    EXPECT_TRUE(config.keys(QStringLiteral("LMCHZ 3")).isEmpty());
}

TEST_F(ConfigFile, WithABadLineIsRefusedWhole)
{
    const struct
    {
        QByteArray text;
        int line;
    } cases[] = {
        {"[s]\nk=1\nno equals sign\n", 3},
        {"[s]\r\n\r\n[t\r\n", 3},
        {"k=1\n[s]\n", 1},
        {"[s]\n=1\n", 2},
        {"[s]\n[ ]\n", 2},
        {"[s] tail\n", 1},
        {"[s]\nk=\xFF\xFE\n", 2},
        {QByteArray("[s]\nk=a\0b", 9), 2},
        {"[\ns]\n", 1},
        {"[s]\n;\xD0\n", 2},
    };
    ASSERT_TRUE(load("[earlier]\nk=1\n"));
    for (const auto& [text, line] : cases) {
        EXPECT_FALSE(load(text)) << text.constData();
        EXPECT_TRUE(error.startsWith(QStringLiteral("%1:%2: ").arg(path).arg(line))) << error.toStdString();
        EXPECT_EQ(value("earlier:k"), QStringLiteral("1"));
    }
}

TEST_F(ConfigFile, ThatCannotBeReadIsNamed)
{
    for (const QString& file : {folder.filePath(QStringLiteral("missing.ini")), folder.path()}) {
        EXPECT_FALSE(config.load(file, &error));
        EXPECT_TRUE(error.startsWith(file)) << error.toStdString();
        EXPECT_FALSE(config.load(file));
    }
    EXPECT_TRUE(load(""));
    EXPECT_TRUE(config.sections().isEmpty());
}

}  // namespace
