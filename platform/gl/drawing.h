// Drawing in the current window: colours, coordinates, shapes.
//
//   gl::RGBcolor(64, 64, 64);
//   gl::clear();
//   gl::RGBcolor(255, 255, 255);
//   gl::rectfi(10, 10, 59, 39);       // both corners are inside: 50 x 30 pixels
//
// Coordinates: pixels from the window's lower left corner, y up; from the screen's after
// screenspace. Pixels outside the window, or outside the box set with scrmask, are not touched.
// Numbers of any size are safe. Without a current window nothing happens.
//
// A pixel is 0xAABBGGRR in an RGB window (alpha is not kept) and an index 0 .. 4095 in a
// colour-map window.
#pragma once

#include <cstdint>

namespace gl {

// --- colour ----------------------------------------------------------------------------------
inline constexpr int colour_map_size = 4096;

void RGBcolor(int red, int green, int blue); // 0 .. 255 each; in an RGB window
void cpack(std::uint32_t colour);            // the same as 0xAABBGGRR
void gRGBcolor(int *red, int *green, int *blue);
void color(int index); // in a colour-map window, or in the overlay
[[nodiscard]] int getcolor();

// Only these bits of a pixel are changed by drawing: of 0x00BBGGRR, or of the index.
void writemask(std::uint32_t bits);
[[nodiscard]] std::uint32_t getwritemask(); // all_bits when none is protected
inline constexpr std::uint32_t all_bits = 0xFFFFFFFF;

// What index `index` looks like, in all colour-map windows at once, whatever they show already.
// Out of range: ignored. In overlay mode: the colour of an overlay index.
void mapcolor(int index, int red, int green, int blue);
void getmcolor(int index, int *red, int *green, int *blue);

// --- planes ----------------------------------------------------------------------------------
inline constexpr int NORMALDRAW = 0;
inline constexpr int OVERDRAW = 1; // pixels over the picture; index 0 lets it show through
void drawmode(int mode);
void overlay(int planes); // 0 or 2, in force after gconfig; 0 takes the overlay's pixels away
inline constexpr int overlay_planes = 2;

// --- coordinates -----------------------------------------------------------------------------
enum class coordinate_space { window, screen, ortho };
struct matrix_state {
    coordinate_space space = coordinate_space::window;
    double left = 0, right = 0, bottom = 0, top = 0; // the edges of ortho2
};
[[nodiscard]] matrix_state getmatrix(); // what screenspace and ortho2 have set
void loadmatrix(const matrix_state &matrix);
void screenspace(); // coordinates are the screen's
void ortho2(double left, double right, double bottom,
            double top);                                 // these edges map to the viewport
void viewport(int left, int right, int bottom, int top); // and set the box of scrmask
void getviewport(int *left, int *right, int *bottom, int *top);
void reshapeviewport(); // the viewport is the window as it is now; window coordinates again
void scrmask(int left, int right, int bottom, int top); // inside the viewport or not, as given
void getscrmask(int *left, int *right, int *bottom, int *top);
inline constexpr int stack_depth = 32; // of the four below; more pushes are ignored
void pushviewport();                   // viewport and box
void popviewport();
void pushmatrix(); // as of getmatrix
void popmatrix();

// --- shapes ----------------------------------------------------------------------------------
void clear();                                // the viewport, within the box
void recti(int x1, int y1, int x2, int y2);  // outline
void rectfi(int x1, int y1, int x2, int y2); // filled
void circi(int x, int y, int radius);
void circfi(int x, int y, int radius);
void pnt2i(int x, int y);
void move2i(int x, int y);
void draw2i(int x, int y);  // a line from the last point to here, both ends drawn
void linewidth(int pixels); // 1 or more, of lines and outlines

// The place where text starts.
void cmov2i(int x, int y);
void cmov2s(short x, short y);
void getcpos(int *x, int *y); // in window coordinates

} // namespace gl
