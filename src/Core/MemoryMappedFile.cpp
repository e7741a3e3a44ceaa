#include "MemoryMappedFile.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Orvane { namespace Zel {

MemoryMappedFile::MemoryMappedFile(const QString &path)
{
    // Non-blocking, because open() would wait for a writer if the path names a pipe.
    const int file = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return;
    }
    struct stat status = {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        const size_t length = static_cast<size_t>(status.st_size);
        void *data = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE, file, 0);
        if (data != MAP_FAILED) {
            _data = static_cast<unsigned char *>(data);
            _size = length;
        }
    }
    close(file); // the mapping stays valid
}

MemoryMappedFile::~MemoryMappedFile()
{
    if (_data != nullptr) {
        munmap(_data, _size);
    }
}

quint64 MemoryMappedFile::size() const
{
    return _size;
}

unsigned char *MemoryMappedFile::map(quint64 offset, quint64 length)
{
    return range(_data, _size, offset, length);
}

void MemoryMappedFile::unmap(const unsigned char *)
{
    // Readers pass the position up to which they read, which identifies no view. The destructor unmaps the file.
}

}} // namespace Orvane::Zel
