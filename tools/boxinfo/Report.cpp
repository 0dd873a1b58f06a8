#include "tools/boxinfo/Report.h"

#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

namespace {
using Json = nlohmann::ordered_json;

std::string Hexadecimal(std::uint32_t number)
{
    std::ostringstream text;
    text << std::hex << std::setw(8) << std::setfill('0') << number;
    return text.str();
}

std::string Mebibytes(std::int64_t bytes)
{
    return std::to_string(bytes / 1048576) + " MiB";
}

// A heading before the first fact of a kind.
template <typename Facts, typename Write>
void WriteBlock(std::ostream& out, const char* heading, const Facts& facts, Write write)
{
    if (!facts.empty()) {
        out << heading << '\n';
    }
    for (const auto& fact : facts) {
        out << "  " << std::left;
        write(fact);
        out << '\n';
    }
}

template <typename Facts, typename Convert>
Json ToArray(const Facts& facts, Convert convert)
{
    Json array = Json::array();
    for (const auto& fact : facts) {
        array.push_back(convert(fact));
    }
    return array;
}

template <typename Value>
Json ValueOrNull(bool known, const Value& value)
{
    return known ? Json(value) : Json(nullptr);
}

Json MountToJson(const MountFact& mount)
{
    return {{"device", mount.device},
            {"mounted", mount.mounted},
            {"mountPoint", ValueOrNull(mount.mounted, mount.mountPoint)},
            {"type", ValueOrNull(mount.mounted, mount.type)},
            {"readOnly", ValueOrNull(mount.mounted, mount.readOnly)}};
}
}  // namespace

void WriteText(const BoxInfo& info, std::ostream& out)
{
    WriteBlock(out, "Partitions", info.partitions, [&](const PartitionFact& partition) {
        out << std::setw(16) << partition.name << std::right << std::setw(12) << partition.kibibytes
            << " KiB  " << partition.major << ":" << partition.minor;
    });
    WriteBlock(out, "Mounts", info.mounts, [&](const MountFact& mount) {
        out << std::setw(20) << mount.device;
        if (mount.mounted) {
            out << " " << mount.mountPoint << " (" << mount.type
                << (mount.readOnly ? ", read-only)" : ", writable)");
        } else {
            out << " not mounted";
        }
    });
    WriteBlock(out, "File systems", info.fileSystems, [&](const FileSystemFact& fileSystem) {
        out << std::setw(20) << fileSystem.path << " "
            << (fileSystem.readable ? Mebibytes(fileSystem.totalBytes) + ", " +
                                          Mebibytes(fileSystem.freeBytes) + " free"
                                    : "cannot be read");
    });
    WriteBlock(out, "Processes", info.processes, [&](const ProcessFact& process) {
        out << std::setw(20) << process.command << (process.running ? " running" : " not running");
    });
    WriteBlock(out, "Checksums", info.checksums, [&](const ChecksumFact& checksum) {
        if (checksum.readable) {
            out << "sha1 " << checksum.sha1 << "  crc32/mpeg2 " << Hexadecimal(checksum.crc) << "  "
                << checksum.file;
        } else {
            out << std::setw(20) << checksum.file << " cannot be read";
        }
    });
}

void WriteJson(const BoxInfo& info, std::ostream& out)
{
    const Json report = {
        {"partitions", ToArray(info.partitions,
                               [](const PartitionFact& partition) -> Json {
                                   return {{"name", partition.name},
                                           {"kibibytes", partition.kibibytes},
                                           {"major", partition.major},
                                           {"minor", partition.minor}};
                               })},
        {"mounts", ToArray(info.mounts, MountToJson)},
        {"fileSystems",
         ToArray(info.fileSystems,
                 [](const FileSystemFact& system) -> Json {
                     return {{"path", system.path},
                             {"totalBytes", ValueOrNull(system.readable, system.totalBytes)},
                             {"freeBytes", ValueOrNull(system.readable, system.freeBytes)}};
                 })},
        {"processes",
         ToArray(info.processes,
                 [](const ProcessFact& process) -> Json {
                     return {{"command", process.command}, {"running", process.running}};
                 })},
        {"checksums", ToArray(info.checksums,
                              [](const ChecksumFact& checksum) -> Json {
                                  return {{"file", checksum.file},
                                          {"sha1", ValueOrNull(checksum.readable, checksum.sha1)},
                                          {"crc32Mpeg2", ValueOrNull(checksum.readable,
                                                                     Hexadecimal(checksum.crc))}};
                              })},
    };
    out << report.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}
