#include "toolkit/demons/keystroke_aliases.h"

#include "toolkit/demons/window_demons.h"
#include "toolkit/events/event_input.h"

#include <algorithm>
#include <vector>

namespace toolkit {

namespace {

constexpr int character_mask = 0xff;

struct keystroke_alias {
    int key;
    std::uint32_t modifiers;
    alias_function function;
    word argument;
};

struct alias_state {
    std::vector<keystroke_alias> aliases;
    int off = 0; // times they were turned off
};
alias_state state;
key_claim claim = nullptr;

// Editing keys type no character: they are bound by their own value.
int key_of(int key) {
    return is_editing_key(key) ? key : key & character_mask;
}

bool is_letter(int key) {
    return (key >= 'a' && key <= 'z') || (key >= 'A' && key <= 'Z');
}

int fold(int key) {
    return key >= 'A' && key <= 'Z' ? key - 'A' + 'a' : key;
}

const keystroke_alias *find_alias(int key, std::uint32_t modifiers) {
    const auto at =
        std::find_if(state.aliases.begin(), state.aliases.end(), [&](const keystroke_alias &a) {
            return a.key == key && a.modifiers == modifiers;
        });
    return at == state.aliases.end() ? nullptr : &*at;
}

// What a typed character means: itself; what Shift has made of another key; for letters, whose
// case may be caps lock's, the other one.
const keystroke_alias *find_typed(int key, std::uint32_t held) {
    if (const keystroke_alias *exact = find_alias(key, held))
        return exact;
    if (is_editing_key(key))
        return nullptr; // Shift makes no other key of it
    if (const keystroke_alias *shifted = find_alias(key, held & ~alias_shift))
        return shifted;
    if (!is_letter(key))
        return nullptr;
    return find_alias(key == fold(key) ? key - 'a' + 'A' : fold(key), held);
}

bool is_left_to(const demon *client, int key, std::uint32_t held) {
    if (client == nullptr)
        return false;
    return (held & (alias_alt | alias_ctrl)) == 0 || (claim != nullptr && claim(client, key));
}

} // namespace

void aliasKeystroke(int key, std::uint32_t modifiers, alias_function function, word argument) {
    key = key_of(key);
    if (key == 0 || function == nullptr)
        return;
    remove_keystroke_alias(key, modifiers);
    state.aliases.push_back({key, modifiers, function, argument});
}

void remove_keystroke_alias(int key, std::uint32_t modifiers) {
    std::erase_if(state.aliases, [&](const keystroke_alias &a) {
        return a.key == key_of(key) && a.modifiers == modifiers;
    });
}

void remove_keystroke_alias(int key, std::uint32_t modifiers, alias_function function,
                            word argument) {
    const keystroke_alias *bound = find_alias(key_of(key), modifiers);
    if (bound != nullptr && bound->function == function && bound->argument == argument)
        remove_keystroke_alias(key, modifiers);
}

void clear_keystroke_aliases() {
    state = {};
}

void set_key_claim(key_claim wanted) {
    claim = wanted;
}

void turn_off_keystroke_aliases() {
    ++state.off;
}

void turn_on_keystroke_aliases() {
    state.off = std::max(state.off - 1, 0);
}

bool has_keystroke_alias(int key) {
    return state.off == 0 && find_typed(key, inq_special_key() << 1) != nullptr;
}

bool fire_keystroke_alias(int key) {
    if (state.off > 0)
        return false;
    const std::uint32_t held = inq_special_key() << 1;
    const keystroke_alias *typed = find_typed(key, held);
    if (typed == nullptr || is_left_to(inq_key_client(), key, held))
        return false;
    const keystroke_alias called = *typed; // the function may bind others
    called.function(called.argument);
    return true;
}

} // namespace toolkit
