#include "media/mounted_media.h"
#include "module/entries.h"

void mdHostMountPointOf(const std::string& uuid, std::string& mountPoint) { mountPoint = md::host::mountPointOf(uuid); }
