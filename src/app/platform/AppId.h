#pragma once

// The application's reverse-DNS name: its D-Bus name, the launcher's file name and the icon's
// name. src/app/CMakeLists.txt reads it from here for the installed files.
#define QUORVANE_APP_ID "app.quorvane.Quorvane"
