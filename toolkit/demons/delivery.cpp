#include "toolkit/demons/delivery.h"

namespace toolkit {

namespace {
delivery *innermost = nullptr; // of those that run now
std::uint64_t joins = 0;
} // namespace

delivery::delivery(demon *self) : delivery(self, joins) {
    if (outer_ != nullptr && outer_->passes_on_ && outer_->next_ == self) {
        began_ = outer_->began_; // the same message, one sibling on
        next_ = skip_newcomers(self->next);
    }
}

delivery::delivery(demon *self, std::uint64_t began)
    : self_(self), outer_(innermost), began_(began), next_(skip_newcomers(self->next)) {
    innermost = this;
}

delivery::~delivery() {
    innermost = outer_;
}

demon *delivery::step() {
    demon *reached = next_;
    if (reached != nullptr)
        next_ = skip_newcomers(reached->next);
    return reached;
}

void delivery::pass_on(object *sender, demon_message *m) const {
    if (m == nullptr || m->propagate == 0 || next_ == nullptr)
        return;
    passes_on_ = true;
    send_demon_message(next_, sender, *m);
    passes_on_ = false;
}

demon *delivery::skip_newcomers(demon *d) const {
    while (d != nullptr && d->joined > began_)
        d = d->next;
    return d;
}

std::uint64_t count_joins() {
    return joins;
}

void note_join(demon *d) {
    d->joined = ++joins;
}

void leave_deliveries(const demon *gone) {
    for (delivery *d = innermost; d != nullptr; d = d->outer_)
        if (d->next_ == gone)
            d->next_ = d->skip_newcomers(gone->next);
}

void forget_in_deliveries(const demon *gone) {
    for (delivery *d = innermost; d != nullptr; d = d->outer_)
        if (d->self_ == gone)
            d->self_ = nullptr;
}

} // namespace toolkit
