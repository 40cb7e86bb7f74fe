// The program with settings of its own, for script/run: in the text file quorvale.org/quorvale.ini below
// $XDG_CONFIG_HOME, on every system. It neither reads nor writes the user's own settings.

#include "app/program.h"

#include <QSettings>

int main(int argc, char **argv)
{
    QSettings::setDefaultFormat(QSettings::IniFormat);
    return quorvale::runProgram(argc, argv);
}
