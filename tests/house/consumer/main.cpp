#include "archive/recordingsindex.h"

int main()
{
    return readRecordingsIndex("no such device").has_value() ? 1 : 0;
}
