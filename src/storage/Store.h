#pragma once
#include "storage/Files.h"
#include "storage/Model.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

class Files;

// The only code that knows the notes folder's layout: id + ".md" note files,
// the state file ".stickies.json" and the trash folder ".trash/". Every path is
// built from Config::notesDir() at the moment of the call.
struct Store {
    static constexpr const char* stateFileName = ".stickies.json";
    static constexpr const char* trashFolderName = ".trash";
    static constexpr const char* noteExtension = ".md";

    // Creates the notes folder, and clears it of the temporary files of writes
    // a killed run left unfinished (the notes themselves are whole).
    static void ensureDirs();
    static std::vector<std::string> noteIds();
    static std::string newId();
    // Writes the note atomically. False (and an ERROR line) when it could not be
    // written: the caller keeps the text and tries again on the next save.
    static bool write(const std::string& id, const std::string& text);
    // The same write without a log line; gives back the error's description.
    static Files::Result tryWrite(const std::string& id, const std::string& text);
    // Keeps text that can't reach the notes folder in the rescue folder; where it went.
    static std::optional<std::filesystem::path> rescue(const std::string& id, const std::string& text);
    // The note's text; empty when the file can't be read or is not UTF-8 (logged once per note).
    static std::optional<std::string> read(const std::string& id);
    static AppState loadState();
    static bool saveState(const AppState& state);
    // Moves the note's file into the trash folder, where an older copy of the same id gives way.
    static Files::Result moveToTrash(const std::string& id);
    // Moves it back; fails, overwriting nothing, when the notes folder has a file of that name.
    static Files::Result restoreFromTrash(const std::string& id);
    // Whether the notes folder holds the note's file.
    static bool exists(const std::string& id);

    static std::filesystem::path notePath(const std::string& id);
    static std::filesystem::path statePath();
    static std::filesystem::path trashPath(const std::string& id);

    // The disk the store works on; tests swap in one that fails on purpose.
    static Files& files();
    static void useFiles(Files* files);   // null restores the local disk
};

}
