#pragma once

#include "media/clip_file.h"
#include "media/media_reader.h"
#include "session/log_opening.h"
#include "sync/placed_clip.h"
#include "sync/shoot_plan.h"

#include <functional>
#include <string>
#include <variant>
#include <vector>

// The after-the-shoot path in one place, shared by the command line and the desk: open
// the logs, match each card folder to its camera, read the cards, plan every camera.
namespace korvalume::shoot {

// A card folder as the user names it: the camera by name (any case) or by id.
struct FolderChoice {
    std::string camera;
    std::string folder;
};

// Why a shoot could not be planned. The text is the whole sentence without a prefix.
struct Problem {
    enum class Kind {
        noLog,            // none of the logs could be opened
        unknownCamera,    // a folder names a camera the session does not have
        removedCamera,    // a folder names a camera taken out of the session
        cameraTwice,      // two folders for one camera
        unreadableFolder, // a folder is missing or cannot be listed
    };
    Kind kind;
    std::string text;
};

struct Planned {
    SessionDoc doc;
    std::vector<CameraPlan> plans;    // in the session's camera order
    std::vector<std::string> folders; // the folder of each plan
};

struct Options {
    // The logs' messages, as soon as the logs are opened and before any card is read.
    std::function<void(const OpenedLogs&)> logsOpened;
    // Progress of reading one folder, on the thread that reads it.
    std::function<void(const std::string& folder, const mediareader::ScanProgress&)> progress;
    // Reads one file of a card in place of the media readers (see mediareader::ScanOptions).
    std::function<std::optional<ClipFile>(const std::string& path)> readFile;
};

// The cards named by `choices`, each folder checked before any is read so that a typo
// fails at once; files are not read yet.
std::variant<std::vector<syncmap::CameraCard>, Problem>
resolveCards(const SessionDoc& doc, const std::vector<FolderChoice>& choices);

// Reads one card folder.
std::vector<ClipFile> readCard(const std::string& folder, const Options& options = {});

// Every camera that has a card, planned against the log.
Planned plan(const SessionDoc& doc, std::span<const syncmap::CameraCard> cards);

// The whole path.
std::variant<Planned, Problem> run(const std::vector<std::string>& logs,
                                   const std::vector<FolderChoice>& choices,
                                   const Options& options = {});

} // namespace korvalume::shoot
