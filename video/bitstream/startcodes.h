#pragma once

#include "video/bitstream/bytestream.h"

// The names that the packet scanners use.
using Bytes = quorvale::Bytes;
using StartCodes = quorvale::ByteStream;
