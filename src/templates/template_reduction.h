// -RT, -DT and the template half of -ROT/-RTO: shrinking the template table
// of the open project, then saving it.
#pragma once

#include <functional>

#include "project/vorlan.h"

// -RT: asks for confirmation, removes every template that no object refers
// to and saves the project with "<n> templates removed". Returns
// saveProject's result; 0 without saving when no template was unused; 1
// when declined, or when a template cannot be removed (nothing is saved).
int reduceTemplates(Vorlan& project);

// -DT: asks for confirmation, removes all templates and all objects and
// saves the project (also when it held no templates). Returns saveProject's
// result, or 1 when declined.
int deleteTemplates(Vorlan& project);

// -ROT/-RTO: runs `reduceObjects` first; when it returns non-zero the result
// is 1 and the templates are left alone, otherwise the result is that of
// reduceTemplates.
int reduceObjectsAndTemplates(Vorlan& project, const std::function<int()>& reduceObjects);
