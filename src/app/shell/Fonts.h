#pragma once

#include <QString>

// Loads the bundled "Outfit" faces and makes the face the application's default font.
// Returns the family in use: "Outfit", or the system's default family when the face is
// missing from the resources.
QString installApplicationFont();
