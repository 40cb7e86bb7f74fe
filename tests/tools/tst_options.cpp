#include "tests/support/testclass.h"
#include "tools/sampledisk/options.h"

#include <stdexcept>

using namespace quorvale;

class TestOptions : public QObject
{
    Q_OBJECT

    static Options parse(std::vector<const char *> words)
    {
        words.insert(words.begin(), "quorvale-sampledisk");
        return parseOptions(static_cast<int>(words.size()), words.data());
    }

private slots:
    void parse_takesTheDefaults_withADirectoryAlone()
    {
        const Options options = parse({"disk"});
        QCOMPARE(options.directory.string(), std::string("disk"));
        QCOMPARE(options.recordings, 12);
        QCOMPARE(options.length, 900);
        QVERIFY(!options.help);
    }

    void parse_takesTheNumbers_inAnyOrder()
    {
        for (const auto &words : std::vector<std::vector<const char *>>{
                 {"--recordings", "9999", "--length", "65536", "disk"},
                 {"disk", "--length", "65536", "--recordings", "9999"},
             }) {
            const Options options = parse(words);
            QCOMPARE(options.directory.string(), std::string("disk"));
            QCOMPARE(options.recordings, 9999);
            QCOMPARE(options.length, 65536);
        }
    }

    void parse_takesADirectoryWithADash_afterTwoDashes()
    {
        QCOMPARE(parse({"--", "--help"}).directory.string(), std::string("--help"));
    }

    void parse_needsNoDirectory_forHelp()
    {
        QVERIFY(parse({"--help"}).help);
        QVERIFY(parse({"-h"}).help);
        for (const char *word : {"--recordings", "--length", "--help", "DIR"})
            QVERIFY2(helpText().find(word) != std::string::npos, word);
    }

    void parse_throwsAMessage_whenItCannotUnderstand_data()
    {
        QTest::addColumn<QByteArrayList>("words");
        QTest::addColumn<QByteArray>("message");
        const auto add = [](const char *message, const QByteArrayList &words) {
            QTest::newRow(words.join(' ').constData()) << words << QByteArray(message);
        };
        add("no directory given", {});
        add("no directory given", {"--length", "5"});
        add("the directory's name is empty", {""});
        add("only one directory can be given", {"a", "b"});
        add("unknown option \"--lenght\"", {"--lenght", "5", "a"});
        add("--length needs a number", {"a", "--length"});
        add("--length needs a number from 1 to 65536, not \"0\"", {"--length", "0", "a"});
        add("--length needs a number from 1 to 65536, not \"65537\"", {"--length", "65537", "a"});
        add("--recordings needs a number from 1 to 9999, not \"-1\"", {"--recordings", "-1", "a"});
        add("--recordings needs a number from 1 to 9999, not \"12x\"", {"--recordings", "12x", "a"});
        add("--recordings needs a number from 1 to 9999, not \"\"", {"--recordings", "", "a"});
        add("--recordings needs a number from 1 to 9999, not \"99999999999\"", {"--recordings", "99999999999", "a"});
    }
    void parse_throwsAMessage_whenItCannotUnderstand()
    {
        QFETCH(const QByteArrayList, words);
        QFETCH(const QByteArray, message);
        std::vector<const char *> pointers;
        for (const auto &word : words)
            pointers.push_back(word.constData());
        QByteArray thrown = "nothing was thrown";
        try {
            parse(pointers);
        } catch (const std::invalid_argument &error) {
            thrown = error.what();
        }
        QCOMPARE(thrown, message);
    }
};

TEST_CLASS(TestOptions, QCoreApplication)
#include "tst_options.moc"
