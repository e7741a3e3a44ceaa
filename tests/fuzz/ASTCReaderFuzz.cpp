// The ASTC reader: any bytes, without a read outside of them, and without anything left behind.

#include "ReaderFuzz.h"

#include <ZelGL/ASTCReader.h>

ZEL_FUZZ_READER(Orvane::Zel::ASTCRecogniser)
