// The world export (-X): the open project as a .wrp world file beside the
// project file, checked again under -V.
#pragma once

// Returns 0 on success, else the toolkit's status.
int exportWorld();
