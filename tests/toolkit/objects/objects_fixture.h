// A fresh object model for every test, a class of its own with a few methods, and what was said.
#pragma once

#include "toolkit/objects/object_model.h"
#include "toolkit/objects/objects.h"

#include <cinttypes>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace toolkit {

constexpr unsigned msg_poke = 30;

// An object that does what a test wants when it is poked (with the words) or destroyed.
struct puppet : object {
    int id;
};
using puppet_action = std::function<void(puppet *, word, word)>;

inline puppet_action when_poked;                     // not set: nothing
inline std::function<void(puppet *)> when_destroyed; // not set: delete_object
inline std::string poked;                            // "id " of each, in order

inline void puppet_poke(puppet *self, word first, word second) {
    poked += std::to_string(self->id) + " ";
    if (when_poked)
        when_poked(self, first, second);
}

inline void puppet_destroy(puppet *self) {
    if (when_destroyed) {
        when_destroyed(self);
    } else {
        delete_object(self);
    }
}

class objects_fixture : public testing::Test {
protected:
    void SetUp() override {
        when_poked = nullptr;
        when_destroyed = nullptr;
        poked.clear();
        cls = derive_object_class(inq_object_class(), "puppet class ");
        set_method<puppet_destroy>(cls, msg_destroy);
        set_method<puppet_poke>(cls, msg_poke);
        set = create_set_of<puppet>(3, 2, cls);
    }
    void TearDown() override {
        terminate_objects();
        EXPECT_EQ(inq_first_class(), nullptr) << "terminate_objects was refused";
    }

    puppet *make(int id) {
        auto *p = create_object_of<puppet>(set);
        p->id = id;
        return p;
    }
    static std::string ids(object_set *of) {
        std::string text;
        for (set_walk walk(of); auto *p = static_cast<puppet *>(walk.next());)
            text += std::to_string(p->id) + " ";
        return text;
    }
    // What the action prints on standard output.
    template <typename action> static std::string printed(action act) {
        testing::internal::CaptureStdout();
        act();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    object_class *cls = nullptr;
    object_set *set = nullptr;
};

} // namespace toolkit
