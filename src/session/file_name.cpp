#include "session/file_name.h"

#include "base/file_names.h"

namespace korvalume {

std::string proposedFileName(const SessionDoc& doc, std::string_view suffix) {
    return safeFileName(doc.name, suffix);
}

} // namespace korvalume
