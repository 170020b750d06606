// Resource ids shared by the resource script and the program.
#pragma once

#define IDS_APP_TITLE 1
#define IDS_WINDOW_CLASS 2
