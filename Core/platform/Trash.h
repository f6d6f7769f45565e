// Moving an item to the trash, where the user can restore it.
//
// On the machine itself ("/" as root) this is the freedesktop.org trash: the home trash for items
// on the home folder's file system; for other volumes "$topdir/.Trash/$uid" when "$topdir/.Trash"
// is a real folder with the sticky bit, else "$topdir/.Trash-$uid" (made 0700, used only when the
// user owns it). The ".trashinfo" is made first, exclusively, under a free name, then the item is
// renamed beside it; an item on a volume without a usable trash fails with EXDEV and is never
// copied or erased. Under another root (a mounted macOS volume) the item goes to "~/.Trash" of the
// configured home, renamed on collision as macOS does ("name 2.ext").
//
// Threading: safe from any thread; two threads trashing items of the same name get two names.
#pragma once

#include <string>

namespace core {

// 0 when the item was moved to the trash, else the errno.
int moveToTrash(const std::string& path);

// The name of a trashed item's n-th alternative when `name` is taken (n from 2): "a.2.txt" in a
// freedesktop trash, "a 2.txt" in a macOS one. A name that starts with its only dot keeps it whole.
std::string alternativeTrashName(const std::string& name, int n, bool macOSStyle);

// The path written into a ".trashinfo": percent-encoded bytes, "/" kept.
std::string percentEncodedTrashPath(const std::string& path);

} // namespace core
