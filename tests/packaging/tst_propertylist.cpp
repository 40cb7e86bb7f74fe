// The property list of the bundle, as the build system fills it in.

#include <QtTest>

namespace {

/// The keys of a flat property list, with the text of each value; a value without text gives the name of its element.
QMap<QString, QString> propertyList(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return {};
    }
    QXmlStreamReader xml(&file);
    QMap<QString, QString> values;
    QString key;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() == QLatin1String("plist") ||
            xml.name() == QLatin1String("dict"))
            continue;
        const QString element = xml.name().toString();
        const QString text = xml.readElementText();
        if (element == QLatin1String("key"))
            key = text;
        else
            values.insert(key, text.isEmpty() ? element : text);
    }
    *error = xml.hasError() ? xml.errorString() : QString();
    return values;
}

} // namespace

class TestPropertyList : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QString error;
        values = propertyList(PROPERTY_LIST, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void list_saysWhatTheSystemAsksFor()
    {
        QCOMPARE(values["CFBundlePackageType"], QString("APPL"));
        QCOMPARE(values["CFBundleName"], QString("Quorvale"));
        QCOMPARE(values["CFBundleExecutable"], QString("Quorvale"));
        QCOMPARE(values["CFBundleIdentifier"], QString("org.quorvale.quorvale"));
        QCOMPARE(values["CFBundleShortVersionString"], QString(PROGRAM_VERSION));
        QCOMPARE(values["CFBundleVersion"], QString(PROGRAM_VERSION));
        QCOMPARE(values["NSHighResolutionCapable"], QString("true"));
        QCOMPARE(values["LSMinimumSystemVersion"], QString("12.0"));
        QVERIFY(values["NSRemovableVolumesUsageDescription"].size() > 20);
        QVERIFY(!values.contains("CFBundleDocumentTypes"));
    }

    void list_hasNoPlaceLeftToFillIn()
    {
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            QVERIFY2(!value->isEmpty() && !value->contains('$') && !value->contains('@'), qPrintable(value.key()));
    }

    // Every entry of an icon file begins with its type and its size, header included.
    void list_namesTheIcons_whichHaveEverySize()
    {
        QFile file(QFINDTESTDATA("../../packaging/macos/" + values["CFBundleIconFile"]));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray icons = file.readAll();
        QVERIFY(icons.startsWith("icns"));
        QStringList types;
        qint64 at = 8;
        while (at + 8 <= icons.size()) {
            types.append(icons.mid(static_cast<int>(at), 4));
            const auto size = qFromBigEndian<quint32>(icons.constData() + at + 4);
            QVERIFY(size >= 8);
            at += size;
        }
        QCOMPARE(at, qint64(icons.size()));
        for (const char *type : {"is32", "il32", "ih32", "it32", "ic08", "ic09", "ic10"}) // 16 to 1024 pixels
            QVERIFY2(types.contains(type), type);
    }

private:
    QMap<QString, QString> values;
};

QTEST_GUILESS_MAIN(TestPropertyList)
#include "tst_propertylist.moc"
