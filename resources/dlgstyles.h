// Window and control style bits used by the dialog templates (the Win32 values). The resource
// compiler runs without the platform headers, and the template host needs the same values.
#pragma once

#ifndef WS_POPUP
#define WS_POPUP 0x80000000L
#define WS_CHILD 0x40000000L
#define WS_VISIBLE 0x10000000L
#define WS_CAPTION 0x00C00000L
#define WS_BORDER 0x00800000L
#define WS_VSCROLL 0x00200000L
#define WS_SYSMENU 0x00080000L
#define WS_TABSTOP 0x00010000L
#endif

#ifndef DS_SETFONT
#define DS_SETFONT 0x40L
#define DS_MODALFRAME 0x80L
#endif

#ifndef ES_MULTILINE
#define ES_MULTILINE 0x0004L
#define ES_PASSWORD 0x0020L
#define ES_AUTOVSCROLL 0x0040L
#define ES_AUTOHSCROLL 0x0080L
#define ES_READONLY 0x0800L
#define ES_WANTRETURN 0x1000L
#define ES_NUMBER 0x2000L
#endif

#ifndef BS_AUTOCHECKBOX
#define BS_AUTOCHECKBOX 0x0003L
#endif

#ifndef CBS_DROPDOWNLIST
#define CBS_DROPDOWNLIST 0x0003L
#endif

#ifndef LVS_REPORT
#define LVS_REPORT 0x0001L
#define LVS_SINGLESEL 0x0004L
#define LVS_SHOWSELALWAYS 0x0008L
#endif

#ifndef TVS_HASBUTTONS
#define TVS_HASBUTTONS 0x0001L
#define TVS_HASLINES 0x0002L
#define TVS_LINESATROOT 0x0004L
#define TVS_SHOWSELALWAYS 0x0020L
#endif
