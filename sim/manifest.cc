// The manifest is a text of one record per line, which ends with a line that has the checksum of all lines before it:
//   format 1
//   saved 1795392000 2026-11-23T00:00:00Z
//   vdc 1
//   switch leaf-12
//   text bytes 3217 sha256 9f86d0...
//   service 5 elements 1 bytes 84 sha256 60303a... name telemetry
//   end sha256 fd61a0...
// Names come last in their lines, with the escapes of C for unprintable characters. The number after `saved` is the
// time in seconds; the words after it are for people.
#include "sim/manifest.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>

namespace sim {
namespace {

constexpr char kFirstLine[] = "format 1", kEnd[] = "end sha256 ";

using GText = std::unique_ptr<char, decltype(&g_free)>;

std::string sha256(const std::string &bytes) {
    const GText sum(g_compute_checksum_for_string(G_CHECKSUM_SHA256, bytes.data(), static_cast<gssize>(bytes.size())),
                    g_free);
    return sum.get();
}

std::string escaped(const std::string &name) {
    return GText(g_strescape(name.c_str(), nullptr), g_free).get();
}

std::string unescaped(const std::string &name) {
    return GText(g_strcompress(name.c_str()), g_free).get();
}

std::string time_text(std::time_t time) {
    std::tm utc = {};
    char text[32];
    std::strftime(text, sizeof text, "%FT%TZ", gmtime_r(&time, &utc));
    return std::to_string(time) + ' ' + text;
}

std::string file_text(const Manifest::File &file) {
    return "bytes " + std::to_string(file.size) + " sha256 " + file.checksum;
}

std::string service_text(const Manifest::SavedService &service) {
    return "service " + std::to_string(service.sap) + " elements " + std::to_string(service.elements) + ' ' +
           file_text(service.file) + " name " + escaped(service.name) + '\n';
}

std::string rest_of(std::istream &words) {
    std::string rest;
    std::getline(words >> std::ws, rest);
    return rest;
}

Manifest::File file_in(std::istream &words) {
    Manifest::File file;
    std::string label;
    words >> label >> file.size >> label >> file.checksum;
    return file;
}

Manifest::SavedService service_in(std::istream &words) {
    Manifest::SavedService service;
    std::string label;
    words >> service.sap >> label >> service.elements;
    service.file = file_in(words);
    words >> label;
    service.name = unescaped(rest_of(words));
    return service;
}

void read_line(const std::string &line, Manifest &manifest) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "saved") words >> manifest.saved_at;
    if (kind == "vdc") words >> manifest.vdc;
    if (kind == "switch") manifest.switch_name = unescaped(rest_of(words));
    if (kind == "text") manifest.text = file_in(words);
    if (kind == "service") manifest.services.push_back(service_in(words));
}

} // namespace

const Manifest::SavedService *Manifest::find(uint32_t sap) const {
    const auto found = std::ranges::find(services, sap, &SavedService::sap);
    return found != services.end() ? &*found : nullptr;
}

Manifest::File describe_file(const Bytes &contents) {
    return {contents.size(), sha256(contents)};
}

std::string difference(const Manifest::File &expected, const Bytes &contents) {
    if (contents.size() != expected.size)
        return "has " + std::to_string(contents.size()) + " bytes instead of " + std::to_string(expected.size);
    return sha256(contents) != expected.checksum ? "has another checksum than when it was saved" : "";
}

std::string manifest_text(const Manifest &manifest) {
    std::string text = std::string(kFirstLine) + "\nsaved " + time_text(manifest.saved_at) + "\nvdc " +
                       std::to_string(manifest.vdc) + "\nswitch " + escaped(manifest.switch_name) + "\ntext " +
                       file_text(manifest.text) + '\n';
    for (const Manifest::SavedService &service : manifest.services)
        text += service_text(service);
    return text + kEnd + sha256(text) + '\n';
}

std::optional<Manifest> parse_manifest(const std::string &text) {
    Manifest manifest;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        read_line(line, manifest);
    // A text that differs from the one of its own records is not what was written.
    return manifest_text(manifest) == text ? std::optional(manifest) : std::nullopt;
}

} // namespace sim
