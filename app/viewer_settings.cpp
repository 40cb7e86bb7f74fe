// The two settings, their store and their dialog.

#include "app/viewer.h"

#include "app/listhints.h"
#include "app/qtversion.h"

#include <QComboBox>
#include <QDialog>
#include <QFormLayout>
#include <QLineEdit>
#include <QSettings>

#include <array>

namespace {

// In the order of `dateFormat`.
constexpr std::array<const char *, 3> kStoredDateFormats = {"dmy", "mdy", "ymd"};

constexpr char kOrganisation[] = "quorvale.org";
constexpr char kApplication[] = "quorvale";
constexpr char kGroup[] = "Main";
constexpr char kMountPointKey[] = "mount_point";
constexpr char kDateFormatKey[] = "dateformat";

constexpr int kDialogSpacing = 10;
constexpr int kFormSpacing = 5;
constexpr int kPathWidth = 300; // a usual mount point fits

bool isKnownDateFormat(int format)
{
    return format >= 0 && format < static_cast<int>(kStoredDateFormats.size());
}

} // namespace

void Viewer::loadSettings()
{
    QSettings settings{QLatin1String(kOrganisation), QLatin1String(kApplication)};
    useUtf8(settings);
    settings.beginGroup(QLatin1String(kGroup));
    mountPoint = settings.value(QLatin1String(kMountPointKey), QStringLiteral("/Volumes")).toString();
    const QString stored = settings.value(QLatin1String(kDateFormatKey), QStringLiteral("ymd")).toString();
    settings.endGroup();

    // A missing date order is year first, but one that cannot be understood leaves the order as it is.
    for (std::size_t format = 0; format < kStoredDateFormats.size(); ++format) {
        if (stored == QLatin1String(kStoredDateFormats[format]))
            dateFormat = static_cast<int>(format);
    }
}

void Viewer::saveSettings()
{
    const QString stored = isKnownDateFormat(dateFormat)
                               ? QString::fromLatin1(kStoredDateFormats[static_cast<std::size_t>(dateFormat)])
                               : QString();
    QSettings settings{QLatin1String(kOrganisation), QLatin1String(kApplication)};
    useUtf8(settings);
    settings.beginGroup(QLatin1String(kGroup));
    settings.setValue(QLatin1String(kMountPointKey), mountPoint);
    settings.setValue(QLatin1String(kDateFormatKey), stored);
    settings.endGroup();
}

void Viewer::Preferences()
{
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Settings"));
    auto *layout = new QVBoxLayout(&dialog); // owned by the dialog, as is what follows
    layout->setSpacing(kDialogSpacing);
    auto *form = new QFormLayout;
    form->setSpacing(kFormSpacing);
    layout->addLayout(form);

    auto *mountPointEdit = new QLineEdit(mountPoint);
    mountPointEdit->setMinimumWidth(kPathWidth);
    mountPointEdit->setLayoutDirection(Qt::LeftToRight); // as paths read on every desktop
    form->addRow(tr("Drive Mount Point:"), mountPointEdit);
    auto *dateFormatBox = new QComboBox;
    dateFormatBox->addItems({tr("dd.mm.yyyy"), tr("mm.dd.yyyy"), tr("yyyy.mm.dd")});
    dateFormatBox->setCurrentIndex(isKnownDateFormat(dateFormat) ? dateFormat : 0);
    form->addRow(tr("Date Format:"), dateFormatBox);

    dialog.exec(); // However it is closed, what stands in it counts.

    if (mountPoint != mountPointEdit->text()) {
        mountPoint = mountPointEdit->text();
        hintAtDevices(quorvale::MountPointScan::Due);
    }
    if (isKnownDateFormat(dateFormatBox->currentIndex()))
        dateFormat = dateFormatBox->currentIndex();
    if (currentProgramme >= 0)
        chooseProgramme(currentProgramme);
}
