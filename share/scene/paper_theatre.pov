// paper_theatre: a night sea in a mechanical toy theatre.
//
// A folded paper boat with a lantern rides between sliding wave cards, a
// gilded fish leaps past the moon on its brass arm, stars sway on threads.
//
// Design
//  - The loop closes: everything is a function of the turn of the crank,
//    CRANK = 2 pi clock, through whole multiples only, and the clock of the
//    last frame is one step short of 1 (cyclic animation, see the .ini).
//  - Warm against cool: an amber lamp up in the flies on the left is the key,
//    the lantern is a small warm accent that moves, moonlight from behind on
//    the right draws a blue rim on whatever turns away from the lamp.
//  - The picture is stored in blocks of four by four pixels, cheap where a
//    block is nearly even. So: large calm matte surfaces, crisp outlines,
//    shadows with wide soft edges, neighbouring cards close in tone where the
//    eye does not rest, and no grain, texture or jittered sampling anywhere.
//  - Nothing is included and no picture is read: this file is all there is.
//
// x points right, y up, z away from the audience. One unit is about a hand.

#version 3.7;

global_settings {
  assumed_gamma 1.0
  max_trace_level 4
}

#declare TURN = 2 * pi;
#declare CRANK = TURN * clock;

// A harmonic of the crank, `Lag` given in turns; whole `Cycles` keep the loop.
#macro Swing(Cycles, Lag)
  sin(Cycles * CRANK - TURN * Lag)
#end

// ---------------------------------------------------------------- materials

#macro Paper(Colour)
  texture {
    pigment { color Colour }
    finish { ambient 0.04 diffuse 0.8 }
  }
#end

#macro Metal(Colour)
  texture {
    pigment { color Colour }
    finish {
      ambient 0.02 diffuse 0.42 brilliance 1.6
      specular 0.7 roughness 0.03 metallic
      reflection { 0.34 metallic }
    }
  }
#end

#declare BRASS = srgb <0.86, 0.62, 0.26>;
#declare GILT = srgb <1.00, 0.66, 0.25>;
#declare CREAM = srgb <0.97, 0.91, 0.80>;
#declare VERMILION = srgb <0.80, 0.20, 0.11>;

#declare Velvet = texture {
  pigment { color srgb <0.40, 0.045, 0.075> }
  finish { ambient 0.08 diffuse 0.58 }
}

#declare Lacquer = texture {
  pigment { color srgb <0.12, 0.060, 0.055> }
  finish {
    ambient 0.02 diffuse 0.6 specular 0.2 roughness 0.02
    reflection { 0.06, 0.40 fresnel off falloff 2.5 }
  }
}

// ------------------------------------------------------------------- camera
// A slow sway, as of somebody leaning in: the layers slide over each other.

camera {
  perspective
  location <0.55 * Swing(1, 0.10), 1.55 + 0.12 * Swing(1, 0.35),
            -12.4 + 0.35 * Swing(1, 0.60)>
  right x * image_width / image_height
  up y
  look_at <0.10 * Swing(1, 0.10), 0.92, 0>
  angle 39
}

// ------------------------------------------------------------------- lights

// The lamp in the flies. A round area light; no jitter, so shadows stand still.
light_source {
  <-5.2, 7.6, -8.2>
  color srgb <1.0, 0.86, 0.69> * 1.42
  spotlight point_at <0.3, 1.15, 1.5>
  radius 6 falloff 25 tightness 1
  area_light x * 1.0, y * 1.0, 5, 5 adaptive 1 circular orient
}

// Moonlight from behind on the right: the cool rim. It only grazes the cards,
// so a point will do; its shadows fall away from the audience.
light_source {
  <6.5, 6.5, 4.6>
  color srgb <0.36, 0.54, 1.0> * 1.25
}

// What comes back from the dark house: a weak blue wash without shadows.
light_source {
  <3.0, 3.0, -14.0>
  color srgb <0.40, 0.56, 1.0> * 0.38
  shadowless
}

// Only mirrors see the sky: something for the metal to shine with.
sky_sphere {
  pigment {
    gradient y
    color_map {
      [0.00 color srgb <0.02, 0.02, 0.05>]
      [0.45 color srgb <0.05, 0.06, 0.16>]
      [0.62 color srgb <0.75, 0.50, 0.28>]
      [0.75 color srgb <0.30, 0.22, 0.25>]
      [1.00 color srgb <0.04, 0.05, 0.14>]
    }
    scale 2 translate -y
  }
}

// --------------------------------------------------- backdrop, moon and halo

#declare MOON = <1.75, 2.75, 4.1>;

plane { z, 5.2 inverse Paper(srgb <0.060, 0.145, 0.45>) }

// A disc of card facing the audience.
#macro Card_Disc(Centre, Radius, Thick)
  cylinder { Centre, Centre + Thick * z, Radius }
#end

// The halo is three sheets of blue paper, each a little lighter.
object { Card_Disc(MOON + 0.98 * z, 3.20, 0.08) Paper(srgb <0.070, 0.170, 0.50>) }
object { Card_Disc(MOON + 0.80 * z, 2.45, 0.08) Paper(srgb <0.080, 0.200, 0.55>) }
object { Card_Disc(MOON + 0.62 * z, 1.80, 0.08) Paper(srgb <0.100, 0.240, 0.61>) }

// The moon: a shallow shell lit from within, brightest low on the left.
sphere {
  0, 1
  texture {
    pigment {
      spherical
      color_map {
        [0.0 color srgb <0.86, 0.72, 0.50>]
        [1.0 color srgb <1.00, 0.94, 0.76>]
      }
      scale 2.1
      translate <-0.45, -0.3, -0.2>
    }
    finish { ambient 0 emission 0.62 diffuse 0.25 }
  }
  scale <1.22, 1.22, 0.14>
  translate MOON
}

// ------------------------------------------------------------------- clouds

#macro Cloud(Colour)
  union {
    Card_Disc(<-0.95, 0.16, 0>, 0.34, 0.10)
    Card_Disc(<-0.38, 0.36, 0>, 0.50, 0.10)
    Card_Disc(< 0.36, 0.26, 0>, 0.40, 0.10)
    Card_Disc(< 0.92, 0.12, 0>, 0.28, 0.10)
    box { <-0.95, -0.18, 0>, <0.92, 0.2, 0.10> }
    Card_Disc(<-0.95, 0.0, 0>, 0.18, 0.10)
    Card_Disc(<0.92, 0.0, 0>, 0.18, 0.10)
    Paper(Colour)
  }
#end

object { Cloud(srgb <0.20, 0.36, 0.68>) scale <1.15, 0.95, 1> translate <2.9 + 0.22 * Swing(1, 0.15), 1.75, 3.6> no_shadow }
object { Cloud(srgb <0.075, 0.185, 0.54>) scale <1.3, 1.1, 1> translate <-2.5 - 0.28 * Swing(1, 0.30), 2.55, 4.62> no_shadow }

// ----------------------------------------------------------- stars on threads

#macro Star(Place, Size, Lag)
  #local Pivot = Place + 3.4 * y;
  union {
    prism {
      linear_sweep linear_spline
      -0.05, 0.05, 11
      #local K = 0;
      #while (K <= 10)
        #local R = Size * (mod(K, 2) = 0 ? 1 : 0.44);
        <R * sin(K * pi / 5), R * cos(K * pi / 5)>
        #local K = K + 1;
      #end
      rotate -90 * x
      rotate 38 * Swing(1, Lag + 0.2) * y
      Metal(BRASS)
    }
    cylinder { <0, Size, 0>, <0, 3.4, 0>, 0.006 Paper(srgb <0.10, 0.14, 0.34>) }
    no_shadow
    translate -3.4 * y
    rotate 2.6 * Swing(1, Lag) * z
    translate Pivot
  }
#end

Star(<-2.75, 3.55, 2.2>, 0.21, 0.05)
Star(<-1.55, 2.95, 2.6>, 0.16, 0.30)
Star(<-0.45, 3.70, 2.4>, 0.19, 0.55)
Star(< 3.55, 3.35, 2.3>, 0.17, 0.80)

// --------------------------------------------------------------- wave cards
// A sheet of thick card cut along a trochoid, which has the pointed crest and
// wide trough of water, with a rounded rim that catches the light.

#declare CARD_HALF_WIDTH = 7.0;
#declare CARD_BOTTOM = -4.0;
#declare CARD_RIM = 0.055;     // radius of the rounded edge
#declare CARD_STEPS = 220;
#declare RIM_STEPS = 6;

#macro Wave_Point(U, Height, Length, Sharp, Lean)
  #local Angle = TURN * U / Length;
  #local Swell = 0.86 + 0.14 * sin(Angle * 0.5 + 0.7);
  <U - Sharp * Length / TURN * sin(Angle) + Lean * Height * (1 + cos(Angle)),
   Height * Swell * cos(Angle), 0>
#end

#macro Wave_Card(Height, Length, Sharp, Lean)
  #local Points = array[CARD_STEPS + 1];
  #local Normals = array[CARD_STEPS + 1];
  #local I = 0;
  #while (I <= CARD_STEPS)
    #local U = CARD_HALF_WIDTH * (2 * I / CARD_STEPS - 1);
    #local Points[I] = Wave_Point(U, Height, Length, Sharp, Lean);
    #local Tangent = Wave_Point(U + 0.01, Height, Length, Sharp, Lean)
                   - Wave_Point(U - 0.01, Height, Length, Sharp, Lean);
    #local Normals[I] = vnormalize(<-Tangent.y, Tangent.x, 0>);
    #local I = I + 1;
  #end
  mesh {
    #local I = 0;
    #while (I < CARD_STEPS)
      #local A = Points[I];
      #local B = Points[I + 1];
      #local A0 = <A.x, CARD_BOTTOM, 0>;
      #local B0 = <B.x, CARD_BOTTOM, 0>;
      triangle { A - CARD_RIM * z, B - CARD_RIM * z, B0 - CARD_RIM * z }
      triangle { A - CARD_RIM * z, B0 - CARD_RIM * z, A0 - CARD_RIM * z }
      triangle { A + CARD_RIM * z, B + CARD_RIM * z, B0 + CARD_RIM * z }
      triangle { A + CARD_RIM * z, B0 + CARD_RIM * z, A0 + CARD_RIM * z }
      #local J = 0;
      #while (J < RIM_STEPS)
        #local C0 = pi * J / RIM_STEPS;
        #local C1 = pi * (J + 1) / RIM_STEPS;
        #local NA0 = Normals[I] * sin(C0) - z * cos(C0);
        #local NA1 = Normals[I] * sin(C1) - z * cos(C1);
        #local NB0 = Normals[I + 1] * sin(C0) - z * cos(C0);
        #local NB1 = Normals[I + 1] * sin(C1) - z * cos(C1);
        smooth_triangle { A + CARD_RIM * NA0, NA0, B + CARD_RIM * NB0, NB0, B + CARD_RIM * NB1, NB1 }
        smooth_triangle { A + CARD_RIM * NA0, NA0, B + CARD_RIM * NB1, NB1, A + CARD_RIM * NA1, NA1 }
        #local J = J + 1;
      #end
      #local I = I + 1;
    #end
  }
#end

// Every card hangs on a crank pin and goes round in a flat ellipse; each is a
// part of a turn behind the one before it, which makes the swell roll forward.
#macro Crank_Offset(Reach, Lift, Lag)
  <Reach * Swing(1, Lag + 0.25), Lift * Swing(1, Lag), 0>
#end

object {
  Wave_Card(0.14, 1.9, 0.45, 0.1)
  Paper(srgb <0.17, 0.37, 0.70>)
  translate <0.3, 0.55, 2.5> + Crank_Offset(0.26, 0.07, 0.00)
}
object {
  Wave_Card(0.19, 2.3, 0.50, 0.15)
  Paper(srgb <0.095, 0.31, 0.68>)
  translate <-0.5, 0.12, 1.5> + Crank_Offset(-0.32, 0.09, 0.22)
}
object {
  Wave_Card(0.24, 2.9, 0.52, 0.2)
  Paper(srgb <0.045, 0.255, 0.63>)
  translate <0.4, -0.24, 0.2> + Crank_Offset(0.38, 0.11, 0.46)
}
object {
  Wave_Card(0.30, 3.7, 0.55, 0.25)
  Paper(srgb <0.022, 0.190, 0.52>)
  translate <-0.2, -0.92, -0.9> + Crank_Offset(-0.44, 0.13, 0.70)
}

// --------------------------------------------------------------------- boat
// Folded from one sheet; its facets are what shows the light turning.

#macro Facet(A, B, C)
  triangle { A, B, C }
#end

#declare Hull = mesh {
  #local Bow = <-1.55, 0.80, 0>;
  #local Stern = <1.55, 0.80, 0>;
  #local Keel_Fore = <-0.80, -0.35, 0>;
  #local Keel_Aft = <0.80, -0.35, 0>;
  #local Side = 0;
  #while (Side < 2)
    #local Out = (Side = 0 ? -1 : 1);
    #local Gunwale = <0, 0.42, 0.52 * Out>;
    Facet(Bow, Keel_Fore, Gunwale)
    Facet(Keel_Fore, Keel_Aft, Gunwale)
    Facet(Keel_Aft, Stern, Gunwale)
    #local Side = Side + 1;
  #end
}

#declare Sail = mesh {
  #local Peak = <0, 1.62, 0>;
  #local Fore = <-0.70, 0.40, 0>;
  #local Aft = <0.70, 0.40, 0>;
  Facet(Peak, Fore, <0.05, 0.30, -0.27>)
  Facet(Peak, <0.05, 0.30, -0.27>, Aft)
  Facet(Peak, Fore, <0.05, 0.30, 0.27>)
  Facet(Peak, <0.05, 0.30, 0.27>, Aft)
}

// The lantern hangs from a hooked rod and swings after the boat has rocked.
#declare LANTERN_PIVOT = <1.52, 1.62, 0>;
#declare LANTERN_COLOUR = srgb <1.0, 0.62, 0.24>;

#macro Lantern()
  union {
    sphere {
      0, 1 scale <0.17, 0.20, 0.17>
      texture {
        pigment { color srgb <1.0, 0.74, 0.36> }
        finish { ambient 0 emission 1.15 diffuse 0 }
      }
      no_shadow
    }
    cylinder { 0.17 * y, 0.23 * y, 0.085 Metal(BRASS) no_shadow }
    cylinder { -0.23 * y, -0.17 * y, 0.085 Metal(BRASS) no_shadow }
    cylinder { 0.22 * y, 0.40 * y, 0.014 Metal(BRASS) no_shadow }
    // The glow: a soft disc of light in the air, thinning to nothing.
    disc {
      0, z, 1.05
      texture {
        pigment {
          spherical
          color_map {
            [0.00 color srgbt <1.0, 0.55, 0.20, 1.0>]
            [0.45 color srgbt <1.0, 0.55, 0.20, 0.95>]
            [0.85 color srgbt <1.0, 0.62, 0.28, 0.62>]
            [1.00 color srgbt <1.0, 0.66, 0.30, 0.50>]
          }
          scale 1.05
        }
        finish { ambient 0 emission 0.8 diffuse 0 }
      }
      no_shadow no_reflection
    }
    light_source {
      0 color LANTERN_COLOUR * 0.9
      fade_distance 1.1 fade_power 2
    }
    translate -0.40 * y
  }
#end

#declare Rock = 6.5 * Swing(1, 0.20) + 1.6 * Swing(2, 0.10);

union {
  object { Hull Paper(CREAM) }
  object { Sail Paper(VERMILION) }
  union {
    cylinder { <0.98, 0.40, 0>, <1.12, 1.50, 0>, 0.024 }
    sphere { <1.12, 1.50, 0>, 0.024 }
    cylinder { <1.12, 1.50, 0>, <1.24, 1.66, 0>, 0.024 }
    sphere { <1.24, 1.66, 0>, 0.024 }
    cylinder { <1.24, 1.66, 0>, LANTERN_PIVOT, 0.024 }
    sphere { LANTERN_PIVOT, 0.034 }
    Metal(BRASS)
  }
  object {
    Lantern()
    rotate (-Rock + 11 * Swing(1, 0.34) + 3 * Swing(2, 0.3)) * z
    translate LANTERN_PIVOT
  }
  scale 1.1
  rotate Rock * z
  rotate 12 * y
  translate <-1.60 + 0.20 * Swing(1, 0.05), -0.14 + 0.13 * Swing(1, 0.44), 0.85>
}

// --------------------------------------------------------------------- fish
// Gilded, on a brass arm that turns below the waves once in a loop. It hurries
// while it is out of sight and lingers at the top; its tail follows the turn.

#declare FISH_PIVOT = <1.90, -0.62, 1.18>;   // between boat and card behind
#declare FISH_REACH = 2.10;
#declare FISH_TURN = CRANK - pi * 0.95 - 0.55 * sin(CRANK - pi * 0.95);
#declare FISH_BEND = 0.42 + 0.16 * Swing(2, 0.15);

// The backbone is an arc; at `S` along it, nose 0 to tail 1.
#macro Spine(S)
  #local Along = (0.42 - S) * 1.25;
  <Along, -FISH_BEND * Along * Along, 0>
#end

#declare Fish = union {
  blob {
    threshold 0.9
    #local K = 0;
    #while (K <= 20)
      #local S = K / 20;
      #local Girth = 0.11 + 0.34 * sin(pi * pow(S * 0.90 + 0.08, 0.72)) * (1 - 0.35 * S);
      sphere { 0, 1, 1 scale <0.26, Girth, Girth * 0.66> translate Spine(S) }
      #local K = K + 1;
    #end
    // tail and fins
    sphere { 0, 1, 1.8 scale <0.30, 0.11, 0.06> rotate -38 * z translate Spine(1.12) + <-0.04, 0.10, 0> }
    sphere { 0, 1, 1.8 scale <0.30, 0.11, 0.06> rotate 46 * z translate Spine(1.12) + <-0.02, -0.12, 0> }
    sphere { 0, 1, 1.8 scale <0.26, 0.16, 0.05> rotate -24 * z translate Spine(0.42) + <-0.05, 0.26, 0> }
    sphere { 0, 1, 1.8 scale <0.20, 0.09, 0.05> rotate 35 * z translate Spine(0.42) + <-0.06, -0.22, -0.12> }
  }
  sphere { Spine(0.07) + <0.0, 0.045, -0.125>, 0.035 pigment { color srgb 0.02 } finish { specular 0.8 roughness 0.01 } }
  Metal(GILT)
}

union {
  object { Fish scale 0.92 translate FISH_REACH * y }
  cylinder { 0, (FISH_REACH - 0.12) * y, 0.020 Metal(BRASS) no_shadow }
  rotate -degrees(FISH_TURN) * z
  translate FISH_PIVOT
}

// Glass beads thrown up where it leaves the sea and where it goes back in;
// each flies once a loop and has no size at either end of its flight.
#declare FLIGHT = 0.24;   // of a loop

#macro Bead(Place, Start, Drift, Rise, Size)
  #local F = mod(clock - Start + 2, 1) / FLIGHT;
  #if (F > 0 & F < 1)
    sphere {
      Place + <Drift * F, Rise * 4 * F * (1 - F), 0>, Size * pow(sin(pi * F), 0.4)
      texture {
        pigment { color srgb <0.62, 0.80, 0.95> }
        finish { ambient 0.05 diffuse 0.7 specular 0.8 roughness 0.02 }
      }
    }
  #end
#end

#macro Splash(Place, Start)
  Bead(Place, Start, -0.42, 0.62, 0.062)
  Bead(Place, Start + 0.015, -0.16, 0.95, 0.048)
  Bead(Place, Start + 0.010, 0.20, 0.80, 0.068)
  Bead(Place, Start + 0.030, 0.50, 0.52, 0.050)
#end

Splash(<0.35, -0.26, 1.10>, 0.20)
Splash(<3.45, -0.22, 1.10>, 0.76)

// ----------------------------------------------------------------- curtains
// Velvet drawn to both sides, gathered by a tie; the hem moves a little.

#macro Curtain_Point(S, T)
  // S across, 0 at the wing, 1 at the opening; T from the floor (0) to the top
  #local Gather = exp(-pow((T - 0.36) / 0.26, 2));
  #local Width = 2.5 - 1.05 * Gather + 0.9 * pow(T, 3);
  #local Breath = 0.05 * (1 - T) * Swing(1, S * 0.4);
  #local Fold = sin(S * TURN * 3.0 + 0.4 * sin(3 * T)) * (0.17 - 0.08 * Gather);
  <-5.25 + S * Width + Breath, -2.2 + 8.0 * T, -2.6 + Fold>
#end

#declare CURTAIN_ACROSS = 72;
#declare CURTAIN_UP = 36;

#macro Curtain_Normal(S, T)
  #local D = 0.002;
  vnormalize(vcross(Curtain_Point(S, T + D) - Curtain_Point(S, T - D),
                    Curtain_Point(S + D, T) - Curtain_Point(S - D, T)))
#end

#declare Curtain = mesh {
  #local Spots = array[CURTAIN_ACROSS + 1][CURTAIN_UP + 1];
  #local Ups = array[CURTAIN_ACROSS + 1][CURTAIN_UP + 1];
  #local I = 0;
  #while (I <= CURTAIN_ACROSS)
    #local J = 0;
    #while (J <= CURTAIN_UP)
      #local Spots[I][J] = Curtain_Point(I / CURTAIN_ACROSS, J / CURTAIN_UP);
      #local Ups[I][J] = Curtain_Normal(I / CURTAIN_ACROSS, J / CURTAIN_UP);
      #local J = J + 1;
    #end
    #local I = I + 1;
  #end
  #local I = 0;
  #while (I < CURTAIN_ACROSS)
    #local J = 0;
    #while (J < CURTAIN_UP)
      smooth_triangle { Spots[I][J], Ups[I][J], Spots[I+1][J], Ups[I+1][J], Spots[I+1][J+1], Ups[I+1][J+1] }
      smooth_triangle { Spots[I][J], Ups[I][J], Spots[I+1][J+1], Ups[I+1][J+1], Spots[I][J+1], Ups[I][J+1] }
      #local J = J + 1;
    #end
    #local I = I + 1;
  #end
}

// The lamp is meant to hang behind them: they do not shade the stage.
object { Curtain texture { Velvet } no_shadow }
object { Curtain texture { Velvet } scale <-1, 1, 1> no_shadow }

// -------------------------------------------------------------- stage front
// Dark lacquer that mirrors the nearest card.

box { <-9, -3, -5.2>, <9, -1.42, -1.3> texture { Lacquer } }
