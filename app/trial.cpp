// The program with settings of its own, for trying it out: in the text file quorvale.org/quorvale.ini below
// $XDG_CONFIG_HOME, on every system. A person's own settings are elsewhere and can be neither read nor written.

#include "app/program.h"

#include <QSettings>

int main(int argc, char **argv)
{
    QSettings::setDefaultFormat(QSettings::IniFormat);
    return quorvale::runProgram(argc, argv);
}
