// The details panel: what the window shows of the selected programme.

#include "app/viewer.h"

#include "app/descriptionmarkup.h"
#include "app/displaytext.h"
#include "app/programmetext.h"
#include "app/recordingsize.h"
#include "archive/archivepaths.h"

#include <QDate>

#include <optional>

using namespace quorvale;

namespace {

// Long texts are read from their beginning, wherever the field was scrolled to before.
void showFromStart(QLineEdit *field, const QString &text)
{
    field->setText(text);
    field->setCursorPosition(0);
}

} // namespace

void Viewer::chooseProgramme(int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= programmes.size())
        return;
    const Programme &programme = programmes[static_cast<std::size_t>(index)];

    showFromStart(ui.programmeEdit, displayText(programme.title));
    showFromStart(ui.channelEdit, displayText(programme.channel));
    ui.detailsEdit->clear();
    quorvale::insertDescription(ui.detailsEdit->textCursor(), displayText(programme.description));
    ui.dateEdit->setText(getFormattedDate(programme.day, programme.month, programme.year));
    ui.timeEdit->setText(formatStartTime(programme.hour, programme.minute, programme.second));
    ui.watchedEdit->setText(formatPlayPosition(programme.playPosition));
    currentProgramme = index;
    getFileSizeKB(index);

    const QString path = recordingFile(index);
    ui.thumbnailLabel->setToolTip(path);
    ui.thumbnailLabel->ClearThumbs();
    if (std::optional<ThumbnailEntry> series = findThumbnails(thumbnailCache, path))
        ui.thumbnailLabel->SetThumbs(series->x1, series->x2);
    else
        ui.thumbnailLabel->SetBusy(true);
    describePictures();
}

QString Viewer::recordingFile(int row) const
{
    return displayText(recordingPath(devicePath, programmes[static_cast<std::size_t>(row)].fileName));
}

QString Viewer::getFormattedDate(int day, int month, int year)
{
    return formatRecordingDate(day, month, year, dateOrder(dateFormat), QDate::currentDate());
}

QString Viewer::getTwoNumString(int n)
{
    return twoDigits(n);
}

int Viewer::getFileSizeKB(int row)
{
    const std::optional<int> size = recordingSizeKB(recordingFile(row));
    ui.fileSizeEdit->setText(size ? formatFileSize(*size) : tr("No file"));
    return size.value_or(0);
}
