// The property list of the bundle, as the build system fills it in.

#include <QFile>
#include <QMap>
#include <QXmlStreamReader>
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

class tst_PropertyList : public QObject
{
    Q_OBJECT

private slots:
    void list_saysWhatTheSystemAsksFor()
    {
        QString error;
        const auto values = propertyList(QFINDTESTDATA("../../packaging/macos/Info.plist.in"), &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QCOMPARE(values["CFBundlePackageType"], QString("APPL"));
        QCOMPARE(values["CFBundleName"], QString("Quorvale"));
        QCOMPARE(values["CFBundleIdentifier"], QString("org.quorvale.quorvale"));
        QCOMPARE(values["CFBundleShortVersionString"], QString("${PROJECT_VERSION}"));
        QCOMPARE(values["NSHighResolutionCapable"], QString("true"));
        QCOMPARE(values["LSMinimumSystemVersion"], QString("${CMAKE_OSX_DEPLOYMENT_TARGET}"));
        QVERIFY(!values["NSRemovableVolumesUsageDescription"].isEmpty());
        QVERIFY(!values.contains("CFBundleDocumentTypes"));
    }

    void list_namesTheIconsThatAreThere()
    {
        QString error;
        const auto values = propertyList(QFINDTESTDATA("../../packaging/macos/Info.plist.in"), &error);
        QFile icons(QFINDTESTDATA("../../packaging/macos/" + values["CFBundleIconFile"]));
        QVERIFY(icons.open(QIODevice::ReadOnly));
        QCOMPARE(icons.read(4), QByteArray("icns"));
    }
};

QTEST_GUILESS_MAIN(tst_PropertyList)
#include "tst_propertylist.moc"
