// The text form of a UUID, shared by every random source.
#include "platform/uuid.h"

namespace ZEM::platform {

void FormatUuid(unsigned char (&bytes)[16], std::string& text) {
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    static const char kHex[] = "0123456789abcdef";
    text.clear();
    text.reserve(36);
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
        text.push_back(kHex[bytes[i] >> 4]);
        text.push_back(kHex[bytes[i] & 0x0F]);
    }
}

}  // namespace ZEM::platform
