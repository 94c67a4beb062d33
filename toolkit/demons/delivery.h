// A message on its way past a demon: what a method that calls out goes on with.
//
//   void lamp_draw(demon *self, object *sender, demon_message *m) {
//       delivery here(self);
//       call_handler(self);                         // may do anything
//       if (here.self() != nullptr)
//           draw_kids(self);
//       here.pass_on(sender, m);                    // to the sibling that comes next now
//   }
//
// Stands on the stack of the method, from before its first call out.
#pragma once

#include "toolkit/demons/demons.h"

namespace toolkit {

class delivery {
public:
    explicit delivery(demon *self);
    delivery(demon *self, std::uint64_t began); // part of a walk that began then: count_joins()
    ~delivery();
    delivery(const delivery &) = delete;
    delivery &operator=(const delivery &) = delete;

    // The demon that it began with; null once that is destroyed.
    [[nodiscard]] demon *self() const { return self_; }

    // The sibling that comes next, or null; and the same, stepping behind it.
    [[nodiscard]] demon *next() const { return next_; }
    demon *step();

    // Sends the message to the next sibling, if it asks for that.
    void pass_on(object *sender, demon_message *m) const;

private:
    friend void leave_deliveries(const demon *gone);
    friend void forget_in_deliveries(const demon *gone);
    [[nodiscard]] demon *skip_newcomers(demon *d) const;
    demon *self_;
    delivery *outer_;
    std::uint64_t began_; // who joined a list later is not met
    demon *next_;
    mutable bool passes_on_ = false;
};

// How often a demon has joined a list so far; and: d is about to.
[[nodiscard]] std::uint64_t count_joins();
void note_join(demon *d);

// A demon is about to leave its list; and: is destroyed.
void leave_deliveries(const demon *gone);
void forget_in_deliveries(const demon *gone);

} // namespace toolkit
