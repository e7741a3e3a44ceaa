// The KTX reader: for any input it must not read out of bounds or leak.

#include "ReaderFuzz.h"

#include <ZelGL/KTXReader.h>

ZEL_FUZZ_READER(Orvane::Zel::KTXRecogniser)
