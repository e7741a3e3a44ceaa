#pragma once

#include "AbortTrap.h"
#include "ReaderUnderTest.h"

#include <cstring>

/// Does with a file, sound or not, all that a host can do: asks every question, reads all texts to their end,
/// and loads, what is not valid as well.
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
