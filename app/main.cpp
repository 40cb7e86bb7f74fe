#include "app/program.h"

int main(int argc, char **argv)
{
    return quorvale::runProgram(argc, argv);
}
