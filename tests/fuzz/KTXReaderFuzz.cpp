// The KTX reader: any bytes, without a read outside of them, and without anything left behind.

#include "ReaderFuzz.h"

#include <ZelGL/KTXReader.h>

ZEL_FUZZ_READER(Orvane::Zel::KTXRecogniser)
