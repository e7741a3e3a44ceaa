#pragma once

#include "AbortTrap.h"
#include "ReaderUnderTest.h"

#include <cstring>

/// Uses a valid or malformed file in every way that a host can: calls every query, reads all texts to their end, and loads
/// the file, even if the reader reports it as invalid.
template <typename Recogniser> void useReader(const QByteArray &file)
{
    const ReaderUnderTest<Recogniser> reader(file);
    if (reader.get() == nullptr) {
        return;
    }
    for (unsigned int i = 0; i <= reader->numMetadataEntries(); ++i) {
        for (const char *text : {reader->rawKey(i), reader->rawValue(i)}) {
            [[maybe_unused]] const volatile size_t length = text != nullptr ? std::strlen(text) : 0;
        }
        reader->key(i);
        reader->value(i);
    }
    endsInAbort([&] { reader.load(asInFile()); });
}
