#pragma once

#include "app/viewer.h"

#include "tests/support/testvolume.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// A folder for recorder volumes, a folder for settings of its own, and a window on them.
/// The settings of whoever runs the test are neither read nor written, on any system: the window keeps its own in a
/// text file, because on macOS the system's store cannot be moved.
class ViewerFixture
{
public:
    ViewerFixture()
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settings.path());
        settings().setValue("Main/mount_point", m_mountPoint.path());
    }
    ~ViewerFixture() { viewer.reset(); }
    ViewerFixture(const ViewerFixture &) = delete;
    ViewerFixture &operator=(const ViewerFixture &) = delete;

    [[nodiscard]] QString path(const QString &name = QString()) const
    {
        return name.isEmpty() ? m_mountPoint.path() : m_mountPoint.filePath(name);
    }

    /// Settings as another program would see them.
    static QSettings &settings()
    {
        static std::unique_ptr<QSettings> store;
        store = std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, "quorvale.org", "quorvale");
        return *store;
    }

    Viewer &open()
    {
        viewer.reset();
        viewer = std::make_unique<Viewer>();
        return *viewer;
    }

    /// The window on a disk with these programmes.
    Viewer &openDisk(const QList<RecordBytes> &records)
    {
        const bool created = TestVolume::create(path("disk"), records);
        [&] { QVERIFY(created); }();
        return open();
    }

    void close() { viewer.reset(); }

    /// A record with this title; its file is named like the title.
    static RecordBytes titled(const QByteArray &title)
    {
        RecordBytes record;
        record.title = title;
        record.fileName = title;
        return record;
    }

    std::unique_ptr<Viewer> viewer;

private:
    QTemporaryDir m_mountPoint;
    QTemporaryDir m_settings;
};

inline QStringList deviceTexts(const Viewer &viewer)
{
    QStringList texts;
    for (int i = 0; i < viewer.ui.deviceList->topLevelItemCount(); ++i)
        texts.append(viewer.ui.deviceList->topLevelItem(i)->text(0));
    return texts;
}

inline QStringList programmeTexts(const Viewer &viewer)
{
    QStringList texts;
    for (int i = 0; i < viewer.ui.summaryList->count(); ++i)
        texts.append(viewer.ui.summaryList->item(i)->text());
    return texts;
}
