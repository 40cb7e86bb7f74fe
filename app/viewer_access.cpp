// Accessibility: names for screen readers, tool tips for texts that do not fit, and the system's own keys. The form's
// texts and layout stay as they are.

#include "app/viewer.h"

#include "app/fulltexttooltip.h"
#include "app/heldkeys.h"
#include "app/listdelegates.h"
#include "app/programmetext.h"
#include "app/windowkeys.h"

#include <algorithm>
#include <utility>

using namespace quorvale;

namespace {

// The least width of an empty field is that of its widest letter and of its frame.
int widthFor(const QLineEdit &field, const QStringList &texts)
{
    const QFontMetrics metrics = field.fontMetrics();
    const int surroundings = field.minimumSizeHint().width() - metrics.maxWidth();
    int widest = 0;
    for (const QString &text : texts)
        widest = std::max(widest, metrics.horizontalAdvance(text));
    return widest + surroundings;
}

} // namespace

void Viewer::makeAccessible()
{
    const std::pair<QLabel *, QLineEdit *> fields[] = {
        {ui.label, ui.programmeEdit}, {ui.label_2, ui.channelEdit},  {ui.label_3, ui.dateEdit},
        {ui.label_5, ui.timeEdit},    {ui.label_4, ui.fileSizeEdit}, {ui.label_6, ui.watchedEdit},
    };
    auto *fullText = new FullTextToolTip(this); // owned by the window
    for (const auto &[label, field] : fields) {
        label->setBuddy(field);
        field->setAccessibleName(label->text().remove(QLatin1Char(':')));
        fullText->watch(field);
    }
    fullText->watch(ui.summaryList);
    fullText->watchPaths(ui.deviceList);
    fullText->showTipAndDescriptionOf(ui.thumbnailLabel);

    ui.summaryList->setAccessibleName(tr("Programmes"));
    ui.deviceList->setAccessibleName(tr("Devices"));
    ui.detailsEdit->setAccessibleName(tr("Description"));
    ui.thumbnailLabel->setAccessibleName(tr("Pictures"));
    ui.openButton->setAccessibleDescription(ui.openButton->toolTip());

    ui.deviceList->setItemDelegate(new quorvale::PathDelegate(ui.deviceList));    // owned by the list
    ui.summaryList->setItemDelegate(new quorvale::TitleDelegate(ui.summaryList)); // owned by the list

    ui.actionOpen_Directory->setShortcuts(QKeySequence::Open);
    ui.actionPreferences->setShortcuts(QKeySequence::Preferences);
    ui.actionQuit->setShortcuts(QKeySequence::Quit);
    new quorvale::HeldKeys(this);           // owned by the window
    new quorvale::ClickKeys(ui.deviceList); // owned by the list
    quorvale::addPauseKeys(*this, *ui.thumbnailLabel);
#ifndef Q_OS_MACOS
    quorvale::addMenuKeys(*ui.menubar);
#endif
}

// In some languages the words for a date need more room than the form gives them; then the window opens wider.
void Viewer::makeRoomForDates()
{
    const int missing = widthFor(*ui.dateEdit, recordingDateWords()) - ui.dateEdit->width();
    if (missing > 0)
        resize(width() + 2 * missing, height()); // The field beside it gets as much.
}
