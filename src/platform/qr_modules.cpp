#include "platform/qr_modules.h"

#include <qrencode.h>

#include <memory>

namespace korvalume {

namespace {
struct QrCodeDeleter {
    void operator()(QRcode* code) const { QRcode_free(code); }
};
using QrCodePtr = std::unique_ptr<QRcode, QrCodeDeleter>;
} // namespace

std::optional<QrModules> QrModules::encode(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    // 8-bit mode keeps the text's bytes exactly; the join link is plain ASCII anyway.
    QrCodePtr code{QRcode_encodeData(static_cast<int>(utf8.size()),
                                     reinterpret_cast<const unsigned char*>(utf8.constData()), 0,
                                     QR_ECLEVEL_M)};
    if (!code || code->width <= 0)
        return std::nullopt;
    QrModules modules;
    modules.size = code->width;
    const auto count =
        static_cast<std::size_t>(code->width) * static_cast<std::size_t>(code->width);
    modules.dark.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        modules.dark[i] = (code->data[i] & 1u) != 0; // bit 0 is the module's colour
    return modules;
}

} // namespace korvalume
