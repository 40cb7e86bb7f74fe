// The two settings, their store and their dialog.

#include "app/viewer.h"

#include "app/dateorder.h"
#include "app/listhints.h"
#include "app/qtversion.h"

#include <QComboBox>
#include <QDialog>
#include <QFormLayout>
#include <QLineEdit>
#include <QSettings>

using namespace quorvale;

namespace {

constexpr char kOrganisation[] = "quorvale.org";
constexpr char kApplication[] = "quorvale";
constexpr char kGroup[] = "Main";
constexpr char kMountPointKey[] = "mount_point";
constexpr char kDateFormatKey[] = "dateformat";

constexpr int kDialogSpacing = 10;
constexpr int kFormSpacing = 5;
constexpr int kPathWidth = 300; // a usual mount point fits

/// The two settings, in the store of Qt's default format: the system's own, unless the program has chosen another one
/// before the first window. Tests and trial.cpp choose a text file, because on macOS the system's store cannot be moved
/// away from the user's own.
class SettingsStore : public QSettings
{
public:
    SettingsStore()
        : QSettings(QSettings::defaultFormat(), QSettings::UserScope, QLatin1String(kOrganisation),
                    QLatin1String(kApplication))
    {
        useUtf8(*this);
        beginGroup(QLatin1String(kGroup));
    }
};

} // namespace

void Viewer::loadSettings()
{
    SettingsStore settings;
    mountPoint = settings.value(QLatin1String(kMountPointKey), QStringLiteral("/Volumes")).toString();
    // A missing date order means year first, but an unknown one leaves the order as it is.
    const QString stored = settings.value(QLatin1String(kDateFormatKey), storedWord(DateOrder::YearFirst)).toString();
    if (const std::optional<DateOrder> order = dateOrderStoredAs(stored))
        dateFormat = static_cast<int>(*order);
}

void Viewer::saveSettings()
{
    const std::optional<DateOrder> order = dateOrder(dateFormat);
    SettingsStore settings;
    settings.setValue(QLatin1String(kMountPointKey), mountPoint);
    settings.setValue(QLatin1String(kDateFormatKey), order ? storedWord(*order) : QString());
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
    for (const DateOrder order : kDateOrders)
        dateFormatBox->addItem(dateOrderText(order));
    dateFormatBox->setCurrentIndex(static_cast<int>(dateOrder(dateFormat).value_or(DateOrder::DayFirst)));
    form->addRow(tr("Date Format:"), dateFormatBox);

    dialog.exec(); // its content counts, however it is closed

    if (mountPoint != mountPointEdit->text()) {
        mountPoint = mountPointEdit->text();
        hintAtDevices(MountPointScan::Due);
    }
    if (const std::optional<DateOrder> chosen = dateOrder(dateFormatBox->currentIndex()))
        dateFormat = static_cast<int>(*chosen);
    if (currentProgramme >= 0)
        chooseProgramme(currentProgramme);
}
