// Work on the whole object list of the project: delete all objects (-DO),
// list duplicated objects (-LZ), remove duplicated objects (-RZ), reduce the
// deleted entries (-R, -RO), and add offsets to every object (an operation
// that no option reaches).
#pragma once

#include "project/vorlan.h"

// Asks, removes every object (templates stay) and saves.
int deleteObjects(Vorlan& project);

// Lists each valid object that has a later twin (same template, transform
// equal byte for byte) with the first such twin. Changes nothing; returns 0.
int listDuplicates(Vorlan& project);

// Asks, then removes the objects that share an earlier object's template,
// position storage and orientation, and saves.
int removeDuplicates(Vorlan& project);

// Asks, deletes every invalid entry for good (one "." each) and saves; with
// none to delete, says so and returns 0 without saving.
int reduceObjects(Vorlan& project);

// Asks, moves every valid object by (east, north, height) and saves.
int addOffsets(Vorlan& project, float east, float north, float height);
