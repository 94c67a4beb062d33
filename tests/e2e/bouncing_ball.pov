// A ball that bounces once around a ring on a table. Soft shadows: each frame takes a while, even at 320x180.
#version 3.7;
global_settings { assumed_gamma 1.0 }
#default { finish { ambient rgb <0.10, 0.11, 0.14> diffuse 0.8 } }

camera {
    location <0, 3.2, -7.5>
    look_at <0, 0.85, 0>
    right x * image_width / image_height
    angle 42
}

light_source {
    <-5, 8, -5>, rgb <1.1, 1.0, 0.9>
    area_light <2.4, 0, 0>, <0, 0, 2.4>, 4, 4
    jitter
}

sky_sphere { pigment { gradient y color_map { [0 rgb <0.55, 0.62, 0.7>] [0.6 rgb <0.12, 0.2, 0.36>] } } }

plane {
    y, 0
    pigment { checker rgb <0.82, 0.79, 0.72>, rgb <0.34, 0.4, 0.43> }
    finish { reflection 0.08 }
}

torus {
    1.9, 0.16
    translate y * 0.16
    pigment { rgb <0.75, 0.55, 0.22> }
    finish { specular 0.6 roughness 0.02 reflection 0.15 }
}

#declare Turn = 2 * pi * clock;
#declare Height = 0.6 + 1.5 * abs(sin(2 * Turn));
sphere {
    0, 0.6
    pigment { gradient x colour_map { [0.5 rgb <0.78, 0.16, 0.1>] [0.5 rgb <0.93, 0.9, 0.84>] } translate x * 0.5 }
    finish { specular 0.5 roughness 0.03 reflection 0.06 }
    rotate z * 360 * clock
    translate <1.9 * cos(Turn), Height, 1.9 * sin(Turn)>
}
