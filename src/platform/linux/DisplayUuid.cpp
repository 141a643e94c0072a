#include "platform/linux/DisplayUuid.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

namespace marrowleaf {

namespace {

// This program's namespace for name-based display UUIDs. Changing it renames
// every display, and notes would lose theirs.
constexpr std::array<std::uint8_t, 16> uuidNamespace = {0xfa, 0x35, 0x35, 0xdc, 0x32, 0xc1, 0x47, 0x29,
                                                        0xa7, 0x79, 0x19, 0xfd, 0x61, 0x26, 0xfa, 0xf0};

constexpr std::size_t edidBaseBlockSize = 128;
constexpr std::array<std::uint8_t, 8> edidHeader = {0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00};
constexpr std::size_t vendorOffset = 8;
constexpr std::size_t productOffset = 10;
constexpr std::size_t serialOffset = 12;
constexpr std::size_t firstDescriptor = 54;
constexpr std::size_t descriptorSize = 18;
constexpr std::size_t descriptorCount = 4;
constexpr std::uint8_t serialTextTag = 0xff;
constexpr std::size_t descriptorTextOffset = 5;

bool isBaseBlock(std::span<const std::uint8_t> edid) {
    if (edid.size() < edidBaseBlockSize) return false;
    if (!std::equal(edidHeader.begin(), edidHeader.end(), edid.begin())) return false;
    // The block's bytes add up to a multiple of 256; a torn read does not.
    const unsigned sum = std::accumulate(edid.begin(), edid.begin() + edidBaseBlockSize, 0u);
    return sum % 256 == 0;
}

// Three letters packed five bits each, 1 for A.
std::string vendorOf(std::span<const std::uint8_t> edid) {
    const unsigned packed = (edid[vendorOffset] << 8) | edid[vendorOffset + 1];
    std::string letters;
    for (int shift : {10, 5, 0})
        letters += static_cast<char>('A' - 1 + ((packed >> shift) & 0x1f));
    return letters;
}

unsigned productOf(std::span<const std::uint8_t> edid) {
    return edid[productOffset] | (edid[productOffset + 1] << 8);
}

std::uint32_t serialOf(std::span<const std::uint8_t> edid) {
    std::uint32_t serial = 0;
    for (int i = 3; i >= 0; --i)
        serial = (serial << 8) | edid[serialOffset + i];
    return serial;
}

// The serial number a display may give as text in one of its descriptors.
std::string serialTextOf(std::span<const std::uint8_t> edid) {
    for (std::size_t i = 0; i < descriptorCount; ++i) {
        auto d = edid.subspan(firstDescriptor + i * descriptorSize, descriptorSize);
        if (d[0] != 0 || d[1] != 0 || d[2] != 0 || d[3] != serialTextTag) continue;
        std::string text;
        for (std::size_t j = descriptorTextOffset; j < descriptorSize && d[j] != '\n'; ++j)
            text += static_cast<char>(d[j]);
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
        return text;
    }
    return {};
}

}

std::optional<std::string> DisplayUuid::fromEdid(std::span<const std::uint8_t> edid,
                                                 std::string_view connector) {
    if (!isBaseBlock(edid)) return std::nullopt;
    char product[8];
    std::snprintf(product, sizeof product, "%04X", productOf(edid));
    const std::uint32_t serial = serialOf(edid);
    const std::string serialText = serialTextOf(edid);
    std::string name =
        "edid " + vendorOf(edid) + " " + product + " " + std::to_string(serial) + " " + serialText;
    if (serial == 0 && serialText.empty()) name += " on " + std::string(connector);
    return nameBased(name);
}

std::string DisplayUuid::fromConnector(std::string_view connector) {
    return nameBased("connector " + std::string(connector));
}

std::string DisplayUuid::nameBased(std::string_view name) {
    GChecksum* sha1 = g_checksum_new(G_CHECKSUM_SHA1);
    g_checksum_update(sha1, uuidNamespace.data(), uuidNamespace.size());
    g_checksum_update(sha1, reinterpret_cast<const guchar*>(name.data()), static_cast<gssize>(name.size()));
    std::array<std::uint8_t, 20> digest{};
    gsize length = digest.size();
    g_checksum_get_digest(sha1, digest.data(), &length);
    g_checksum_free(sha1);
    digest[6] = (digest[6] & 0x0f) | 0x50;   // version 5: name-based, SHA-1
    digest[8] = (digest[8] & 0x3f) | 0x80;   // the RFC 4122 variant
    char text[37];
    std::snprintf(text, sizeof text, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  digest[0], digest[1], digest[2], digest[3], digest[4], digest[5], digest[6], digest[7],
                  digest[8], digest[9], digest[10], digest[11], digest[12], digest[13], digest[14],
                  digest[15]);
    return text;
}

}
