// Demons that note what is done to them, and to their clients.
#pragma once

#include "tests/toolkit/demons/demon_fixture.h"
#include "toolkit/demons/demon_pointer.h"

#include <map>
#include <utility>

namespace toolkit {

inline constexpr screen_box area{100, 200, 200, 150};
inline constexpr screen_point nowhere{1000, 1000};

// What demons of the noting class and their routines have done, in order: "name verb name verb".
inline std::string notes;
inline std::map<const object *, std::string> names;

inline void note(const object *who, const char *what) {
    notes += (notes.empty() ? "" : " ") + names[who] + what;
}
inline std::string take_notes() {
    return std::exchange(notes, "");
}
inline void note_draw(display_object *self) {
    note(self, "*");
}
inline void note_cursor(display_object *self, screen_point) {
    note(self, "+");
}
inline void note_cursor_gone(display_object *self, screen_point) {
    note(self, "-");
}

template <auto method_itself, char verb>
void noting(demon *self, object *sender, demon_message *m) {
    note(self, std::string(1, verb).c_str());
    method_itself(self, sender, m);
}

struct demons : demon_fixture {
    demons() {
        notes.clear();
        names.clear();
        object_class *cls = derive_object_class(inq_demon_class(), "noting demon class");
        set_method<noting<demon_box_in, '<'>>(cls, msg_box_in);
        set_method<noting<demon_box_out, '>'>>(cls, msg_box_out);
        set_method<noting<demon_loc_move, '.'>>(cls, msg_pointer_moved);
        set_method<noting<demon_generic, '!'>>(cls, msg_left_down);
        set_method<noting<demon_none, '~'>>(cls, msg_none);
        set_method<noting<demon_destroy, 'x'>>(cls, msg_destroy);
        noting_set = create_set_of<demon>(8, 0, cls);
        object_class *client_class = derive_object_class(inq_object_class(), "client class");
        set_method<client_told<msg_draw>>(client_class, msg_draw);
        set_method<client_told<msg_erase>>(client_class, msg_erase);
        set_method<client_told<msg_hilite>>(client_class, msg_hilite);
        set_method<client_told<msg_dehilite>>(client_class, msg_dehilite);
        set_method<client_told<msg_set_visibility>>(client_class, msg_set_visibility);
        set_method<client_told<msg_set_enable_input>>(client_class, msg_set_enable_input);
        set_method<client_destroyed>(client_class, msg_destroy);
        set_method<client_moved>(client_class, msg_move);
        clients = create_set_of<object>(4, 0, client_class);
        window = open_demon_window(area);
        root = named("root", nullptr, area);
        add_demon(root, window);
    }

    demon *named(const char *name, demon *parent, const screen_box &box) const {
        demon *d = make(parent, box, noting_set);
        names[d] = name;
        d->draw = note_draw;
        d->erase = nullptr;
        return d;
    }
    void give_client(demon *d, const char *name) const {
        object *client = create_object(clients);
        names[client] = name;
        d->client = refer_to(client);
    }
    static void point_at(demon *d, screen_point at) {
        demon_message m;
        m.code = msg_pointer_moved;
        m.point = at;
        send_demon_message(d, nullptr, m);
    }
    static void send(demon *d, std::uint32_t code, std::uint16_t propagate = 0,
                     std::uint32_t value = 0) {
        demon_message m;
        m.code = code;
        m.propagate = propagate;
        m.value = value;
        send_demon_message(d, nullptr, m);
    }

    template <unsigned code> static void client_told(object *self, object *, int value) {
        note(self, ("[" + std::to_string(code) + ":" + std::to_string(value) + "]").c_str());
    }
    static void client_moved(object *self, object *, const box_move *by) {
        note(self, ("[" + std::to_string(by->dx) + "," + std::to_string(by->dy) + "]").c_str());
    }
    static void client_destroyed(object *self, object *owner) {
        note(self, ("x" + names[owner]).c_str());
        delete_object(self);
    }

    object_set *noting_set = nullptr;
    object_set *clients = nullptr;
    demon *window = nullptr;
    demon *root = nullptr;
};

} // namespace toolkit
