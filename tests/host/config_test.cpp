#include <QTemporaryDir>

#include "tests/doubles/printers.h"
#include <config/config.h>

namespace {

class ConfigTest : public testing::Test
{
protected:
    bool load(const QByteArray& text)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush() &&
               config.load(path, &error);
    }
    QString value(const QString& key) const { return config.getString(key, "<none>"); }

    QTemporaryDir folder;
    QString path = folder.filePath("settings.ini");
    Config config;
    QString error;
};

TEST_F(ConfigTest, ValueStandsAsWritten)
{
    for (const QByteArray text : {"a;b", "a # b", "\"quoted\"", "\"half", "%1", "a,b", "c:\\dir\\n", "a=b=c",
                                  "<<<tag", "[x]", "$HOME", "ключ", "a\tb", "a  b", "'", ""}) {
        ASSERT_TRUE(load("[s]\n k \t= " + text + " \t\nnext=1\n")) << qPrintable(error);
        EXPECT_EQ(value("s:k"), QString::fromUtf8(text));
        EXPECT_EQ(value("s:next"), "1");
    }
}

TEST_F(ConfigTest, ValueIsReadByType)
{
    const std::pair<const char*, int> numbers[] = {{"5", 5}, {"-5", -5},         {"5x", 42},
                                                   {"", 42}, {"2147483648", 42}, {"2147483647", 2147483647}};
    for (const auto& [text, number] : numbers) {
        config.setValue("s:k", text);
        EXPECT_EQ(config.getInt("s:k", 42), number) << text;
    }
    const std::pair<const char*, std::optional<bool>> flags[] = {
        {"TRUE", true}, {"yes", true},  {"On", true}, {"1", true}, {"False", false},
        {"no", false},  {"oFF", false}, {"0", false}, {"2", {}},   {"", {}}};
    for (const auto& [text, flag] : flags) {
        config.setValue("s:k", text);
        EXPECT_EQ(config.getBool("s:k", false), flag.value_or(false)) << text;
        EXPECT_EQ(config.getBool("s:k", true), flag.value_or(true)) << text;
    }
    config.setValue("s:k", " x, ,y ,, \"z\"");
    EXPECT_EQ(config.getList("s:k"), (QStringList{"x", "y", "\"z\""}));
}

TEST_F(ConfigTest, FileMayHaveAnyLineEndsAndAByteOrderMark)
{
    for (const char* newline : {"\n", "\r\n", "\r"}) {
        for (const char* mark : {"", "\xEF\xBB\xBF"}) {
            QByteArray text = QByteArray(mark) + "; first\n[ s ] ; note\n# = comment\nключ = 1\n\n ;x=y\nb=2";
            ASSERT_TRUE(load(text.replace("\n", newline))) << qPrintable(error);
            EXPECT_EQ(config.sections(), QStringList("s"));
            EXPECT_EQ(config.keys("s"), (QStringList{"ключ", "b"}));
            EXPECT_EQ(value("s:b"), "2");
        }
    }
}

TEST_F(ConfigTest, FileKeepsItsOrderAndTakesTheLastValue)
{
    ASSERT_TRUE(load("[LMCHZ 2]\nk=1\n[Other]\n[LMCHZ]\n[ЛМ1]\n[LMCHZ 1]\n[LMCHZ 2]\na=3\nk=2\n"));
    const std::pair<const char*, const char*> cases[] = {{"*", "LMCHZ 2|Other|LMCHZ|ЛМ1|LMCHZ 1"},
                                                         {"LMCHZ*", "LMCHZ 2|LMCHZ|LMCHZ 1"},
                                                         {"LMCHZ ?", "LMCHZ 2|LMCHZ 1"},
                                                         {"LMCHZ [13]", "LMCHZ 1"},
                                                         {"?М?", "ЛМ1"},
                                                         {"lmchz*", ""},
                                                         {"MCHZ", ""}};
    for (const auto& [wildcard, names] : cases) {
        EXPECT_EQ(config.sections(wildcard).join('|'), names);
    }
    EXPECT_EQ(value("LMCHZ 2:k"), "2");
    EXPECT_EQ(config.keys("LMCHZ 2"), (QStringList{"k", "a"}));
    for (const char* missing : {"LMCHZ 2:b", "lmchz 2:k", "LMCHZ 2:K", "LMCHZ 3:k", "LMCHZ 2", ":k", ""}) {
        EXPECT_EQ(value(missing), "<none>") << missing;
    }
}

TEST_F(ConfigTest, FileThatIsBadIsRefusedWhole)
{
    const std::pair<QByteArray, int> cases[] = {{"[s]\nk=1\nno equals sign\n", 3},
                                                {"[s]\r\n\r\n[t\r\n", 3},
                                                {"k=1\n[s]\n", 1},
                                                {"[s]\n=1\n", 2},
                                                {"[s]\na:k=1\n", 2},
                                                {"[s]\n\xEF\xBB\xBFk=1\n", 2},
                                                {"[s]\n[ ]\n", 2},
                                                {"[s] tail\n", 1},
                                                {"[s]\nk=1\n\v[t]\nk=2\n", 3},
                                                {"[s]\nk=\xFF\xFE\n", 2},
                                                {QByteArray("[s]\nk=a\0b", 9), 2},
                                                {"[s]\n;\xD0\n", 2}};
    ASSERT_TRUE(load("[earlier]\nk=1\n"));
    for (const auto& [text, line] : cases) {
        EXPECT_FALSE(load(text)) << text.constData();
        EXPECT_TRUE(error.startsWith(QString("%1:%2: ").arg(path).arg(line))) << qPrintable(error);
        EXPECT_EQ(value("earlier:k"), "1");
    }
    EXPECT_FALSE(config.load(folder.path(), &error));
    EXPECT_TRUE(error.startsWith(folder.path())) << qPrintable(error);
}

}  // namespace
