// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOBase/SystemResult.h"

#include <boost/filesystem/path.hpp>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace velmo {

/// What to do with an existing file of the target's name.
enum class eOldFile {
    Replace, ///< replace it
    Refuse   ///< fail
};

/// A file that is written under a temporary name beside its target and renamed to the target when it is
/// complete. An existing file stays unchanged until then.
///
/// ```cpp
/// ReplacedFile file(target);
/// SystemResult result = file.create();     // on failure nothing has changed
/// ... write file.getPath(), close it ...
/// result = file.commit();                  // otherwise the destructor removes the temporary file
/// ```
///
/// - A symbolic link is followed: its target is replaced.
/// - The new file gets the permissions of the old one and, if the user may set them, its owner and group. A
/// file
///   that the user may not write is rejected.
/// - A device, a pipe or a socket is written directly: `getPath` is the target, and `commit` does nothing.
/// - `create` removes temporary files of killed processes from the folder: at the first save of the process
///   there and, depending on the number of files in the folder, at some of the later ones. Each library that
///   links this class counts its own saves.
/// - `commit` does not flush to the disk: a power failure may lose both files.
///
/// An object belongs to one thread. Several objects may have the same target at once; the last `commit`
/// decides.
class ReplacedFile {
  public:
    /// Does not access the file system. `oldFile` says whether an existing file may be replaced.
    explicit ReplacedFile(boost::filesystem::path target, eOldFile oldFile = eOldFile::Replace);
    /// Removes the temporary file unless it was committed.
    ~ReplacedFile();
    ReplacedFile(ReplacedFile const&) = delete;
    ReplacedFile& operator=(ReplacedFile const&) = delete;

    /// Creates the empty temporary file. Must be called once, before anything else.
    SystemResult create();
    /// The file to write. It exists; the caller may truncate it but must not remove it.
    boost::filesystem::path const& getPath() const { return _path; }
    /// Renames the file to the target. The caller must have closed the file. After a failure the old file is
    /// unchanged.
    SystemResult commit();

    /// `text` with the temporary name replaced by the target's, both bare and in double quotes.
    std::string nameTarget(std::string text) const;

  private:
    SystemResult createBeside(boost::filesystem::path const& target);
    SystemResult rename() const;
    bool takesPermissions() const;

    boost::filesystem::path const _target; ///< as given by the caller
    eOldFile const _oldFile;
    boost::filesystem::path _replacedPath; ///< the target with links resolved
    boost::filesystem::path _path;
    int _descriptor = -1; ///< of the temporary file; its lock tells other processes that this one is alive
    bool _bReplaces = false;
    mode_t _mode = 0; ///< permissions, owner and group of the old file
    uid_t _owner = 0;
    gid_t _group = 0;
};

/// Whether this is the name of a temporary file of a save, which may be in progress or killed.
bool isTemporaryName(std::string_view name);

} // namespace velmo
