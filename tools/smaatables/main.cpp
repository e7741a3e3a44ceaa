// Writes the tables for hosts of SMAA.glslh.

#include "SMAATables.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr char kUsage[] = "usage: smaatables FOLDER\n"
                          "Writes the two tables that hosts of SMAA.glslh bind into the FOLDER: SMAAArea.raw "
                          "(160 x 560, two channels),\n"
                          "SMAASearch.raw (64 x 16, one channel), and both as arrays in SMAATextures.h.\n";

using Bytes = std::vector<std::uint8_t>;

bool writeRaw(const std::string &path, const Bytes &bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bool(file.flush());
}

void writeArray(std::ostream &file, const char *name, const Bytes &bytes)
{
    constexpr size_t kPerLine = 24;
    file << "\nstatic const unsigned char " << name << "[" << bytes.size() << "] = {";
    for (size_t i = 0; i < bytes.size(); ++i) {
        file << (i % kPerLine == 0 ? "\n    " : " ") << unsigned(bytes[i]) << ',';
    }
    file << "\n};\n";
}

bool writeHeader(const std::string &path, const Bytes &area, const Bytes &search)
{
    using namespace SMAATables;
    std::ofstream file(path);
    file << "// Generated, do not edit: smaatables FOLDER\n#pragma once\n\n"
         << "// Upload with GL_UNPACK_ALIGNMENT 1, the first row first.\n"
         << "enum { SMAA_AREA_WIDTH = " << kAreaWidth << ", SMAA_AREA_HEIGHT = " << kAreaHeight
         << ", SMAA_SEARCH_WIDTH = " << kSearchWidth << ", SMAA_SEARCH_HEIGHT = " << kSearchHeight << " };\n";
    writeArray(file, "smaaAreaBytes", area);
    writeArray(file, "smaaSearchBytes", search);
    return bool(file.flush());
}

} // namespace

int main(int argc, char **argv)
{
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument == "-h" || argument == "--help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (argument.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::string folder = argument + '/';
    const Bytes area = SMAATables::area();
    const Bytes search = SMAATables::search();
    if (!writeRaw(folder + "SMAAArea.raw", area) || !writeRaw(folder + "SMAASearch.raw", search)
        || !writeHeader(folder + "SMAATextures.h", area, search)) {
        std::fprintf(stderr, "smaatables: '%s' is no folder that can be written to\n", argv[1]);
        return 1;
    }
    return 0;
}
