// The devices of the event queue: every key, button, valuator, timer and window event that can be
// queued, by the number that the queue, the event journal and the toolkit use.
#pragma once

namespace gl {

using device = int;

inline constexpr device NULLDEV = 0;

// Keys: value 1 when pressed, 0 when released. Auto-repeat gives presses without releases.
inline constexpr device LEFTCTRLKEY = 3;
inline constexpr device CAPSLOCKKEY = 4;
inline constexpr device RIGHTSHIFTKEY = 5;
inline constexpr device LEFTSHIFTKEY = 6;
inline constexpr device ESCKEY = 7;
inline constexpr device ONEKEY = 8;
inline constexpr device TABKEY = 9;
inline constexpr device QKEY = 10;
inline constexpr device AKEY = 11;
inline constexpr device SKEY = 12;
inline constexpr device TWOKEY = 14;
inline constexpr device THREEKEY = 15;
inline constexpr device WKEY = 16;
inline constexpr device EKEY = 17;
inline constexpr device DKEY = 18;
inline constexpr device FKEY = 19;
inline constexpr device ZKEY = 20;
inline constexpr device XKEY = 21;
inline constexpr device FOURKEY = 22;
inline constexpr device FIVEKEY = 23;
inline constexpr device RKEY = 24;
inline constexpr device TKEY = 25;
inline constexpr device GKEY = 26;
inline constexpr device HKEY = 27;
inline constexpr device CKEY = 28;
inline constexpr device VKEY = 29;
inline constexpr device SIXKEY = 30;
inline constexpr device SEVENKEY = 31;
inline constexpr device YKEY = 32;
inline constexpr device UKEY = 33;
inline constexpr device JKEY = 34;
inline constexpr device KKEY = 35;
inline constexpr device BKEY = 36;
inline constexpr device NKEY = 37;
inline constexpr device EIGHTKEY = 38;
inline constexpr device NINEKEY = 39;
inline constexpr device IKEY = 40;
inline constexpr device OKEY = 41;
inline constexpr device LKEY = 42;
inline constexpr device SEMICOLONKEY = 43;
inline constexpr device MKEY = 44;
inline constexpr device COMMAKEY = 45;
inline constexpr device ZEROKEY = 46;
inline constexpr device MINUSKEY = 47;
inline constexpr device PKEY = 48;
inline constexpr device LEFTBRACKETKEY = 49;
inline constexpr device QUOTEKEY = 50;
inline constexpr device RETKEY = 51;
inline constexpr device PERIODKEY = 52;
inline constexpr device VIRGULEKEY = 53;
inline constexpr device EQUALKEY = 54;
inline constexpr device ACCENTGRAVEKEY = 55;
inline constexpr device RIGHTBRACKETKEY = 56;
inline constexpr device BACKSLASHKEY = 57;
inline constexpr device PAD1 = 58;
inline constexpr device PAD0 = 59;
inline constexpr device LINEFEEDKEY = 60;
inline constexpr device BACKSPACEKEY = 61;
inline constexpr device DELKEY = 62;
inline constexpr device PAD4 = 63;
inline constexpr device PAD2 = 64;
inline constexpr device PAD3 = 65;
inline constexpr device PADPERIOD = 66;
inline constexpr device PAD7 = 67;
inline constexpr device PAD8 = 68;
inline constexpr device PAD5 = 69;
inline constexpr device PAD6 = 70;
inline constexpr device LEFTARROWKEY = 73;
inline constexpr device DOWNARROWKEY = 74;
inline constexpr device PAD9 = 75;
inline constexpr device PADMINUS = 76;
inline constexpr device RIGHTARROWKEY = 80;
inline constexpr device UPARROWKEY = 81;
inline constexpr device PADENTER = 82;
inline constexpr device SPACEKEY = 83;
inline constexpr device LEFTALTKEY = 143;
inline constexpr device RIGHTALTKEY = 144;
inline constexpr device RIGHTCTRLKEY = 145;
inline constexpr device F1KEY = 146;
inline constexpr device F2KEY = 147;
inline constexpr device F3KEY = 148;
inline constexpr device F4KEY = 149;
inline constexpr device F5KEY = 150;
inline constexpr device F6KEY = 151;
inline constexpr device F7KEY = 152;
inline constexpr device F8KEY = 153;
inline constexpr device F9KEY = 154;
inline constexpr device F10KEY = 155;
inline constexpr device F11KEY = 156;
inline constexpr device F12KEY = 157;
inline constexpr device PRINTSCREENKEY = 158;
inline constexpr device SCROLLLOCKKEY = 159;
inline constexpr device PAUSEKEY = 160;
inline constexpr device INSERTKEY = 161;
inline constexpr device HOMEKEY = 162;
inline constexpr device PAGEUPKEY = 163;
inline constexpr device ENDKEY = 164;
inline constexpr device PAGEDOWNKEY = 165;
inline constexpr device NUMLOCKKEY = 166;
inline constexpr device PADVIRGULEKEY = 167;
inline constexpr device PADASTERKEY = 168;
inline constexpr device PADPLUSKEY = 169;

// Buttons: value 1 when pressed, 0 when released. A turn of the wheel is one press and release.
inline constexpr device RIGHTMOUSE = 101;
inline constexpr device MIDDLEMOUSE = 102;
inline constexpr device LEFTMOUSE = 103;
inline constexpr device WHEELUP = 190;
inline constexpr device WHEELDOWN = 191;
inline constexpr device WHEELLEFT = 192;
inline constexpr device WHEELRIGHT = 193;
inline constexpr device last_button_device = WHEELRIGHT; // keys and buttons are 1 .. this

// Valuators: the pointer on the screen, in pixels from its lower left corner.
inline constexpr device MOUSEX = 266;
inline constexpr device MOUSEY = 267;

// Timers: the value is 0. See noise().
inline constexpr device TIMER0 = 515;
inline constexpr device TIMER1 = 516;
inline constexpr device TIMER2 = 517;
inline constexpr device TIMER3 = 518;
inline constexpr int timer_count = 4;

// Windows: the value is the window.
inline constexpr device REDRAW = 528;      // draw it again; queued from the start
inline constexpr device INPUTCHANGE = 534; // it has the keyboard now; 0: no window of ours has
inline constexpr device QFULL = 535;       // value 0: the queue was full and events are lost
inline constexpr device WINFREEZE = 539;   // it became an icon
inline constexpr device WINTHAW = 540;     // it came back
inline constexpr device WINQUIT = 542;     // the program is asked to end
inline constexpr device WINSHUT = 546;     // the user wants it closed
inline constexpr device WINDROP = 560;     // a file was dropped on it: see dropped_file()

// A text that was asked of the desktop has come (clipboard.h): value 0.
inline constexpr device PASTED = 561;

inline constexpr device last_device = PASTED;

} // namespace gl
