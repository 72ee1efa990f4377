#pragma once
// The window's temporary folder, private to the user who runs it, and the files made in it.
//
// Another user on the same machine must never be able to read our copies, nor plant a link under a
// name we are about to write and so have an entry's bytes land in a file of theirs choosing. So the
// folder is one that only we can enter, checked with lstat before use and never reached through a
// link, and every file in it is created exclusively, without following links, readable by us alone.
//
// Several windows of one user share the folder. Each holds a lock on a run file of its own, which
// lists the copies it makes; closing a window sweeps its own copies and those of runs that have
// ended, never one that a running window still reads.

#include <string>
#include <vector>

// Whether path is a folder that only this user can enter: a directory, not a link, owned by the
// effective user, with mode 0700.
bool IsPrivateFolder(const std::string& path);

// Where the temporary copies go, ending in its separator; made (mode 0700) when it is new. The first
// that passes IsPrivateFolder of: "temp"/brindle/, $XDG_RUNTIME_DIR/brindle/, $TMPDIR/brindle-UID/,
// /tmp/brindle-UID/; when none does, a new folder /tmp/brindle-UID-XXXXXX/ made for this run alone.
// Empty only when not even that can be made.
std::string MakePrivateTempFolder();


// One running window's hold on the temporary folder.
class TempRun {
public:
    TempRun() = default;
    ~TempRun() { End(); }
    TempRun(const TempRun&) = delete;
    TempRun& operator=(const TempRun&) = delete;

    // Takes the lock of a run file of our own in folder. False when it can't: copies are then made
    // all the same, only a sweep by another window may take them.
    bool Begin(const std::string& folder);
    // Notes a copy's path before the copy is made, so that no other window's sweep can take it.
    void Note(const std::string& path);
    // A new path for a copy, noted: MakeTempResourcePath's, but never one that another running window
    // noted in the same hundredth of a second (a name of our own is taken again, and replaced).
    std::string NewCopyPath();
    // Lets go of the lock and sweeps: our own copies and those of runs that have ended.
    void End();

private:
    int fd_ = -1;
    std::string folder_;
    std::string runFile_;
    std::vector<std::string> noted_;  // the names of our copies
};

// The names of the copies that running windows have noted in folder: those of every run file whose
// lock is held. Run files whose lock nobody holds belong to runs that have ended, and are removed.
std::vector<std::string> CopiesInUse(const std::string& folder);
