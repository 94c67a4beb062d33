// Records of one kind, taken and given back one at a time; their memory stays with the pool until
// it is released as a whole. So a stale pointer to a record never points at foreign memory, and
// whether a record is in use can always be asked.
//
//   record_pool<ic> connections;
//   ic *c = connections.take();      // value-initialised, or null when there is no memory
//   connections.give_back(c);        // value-initialised again
//   connections.release_all();
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace toolkit {

template <typename record, std::size_t chunk_records> class record_pool {
public:
    constexpr record_pool() = default;
    ~record_pool() { release_all(); }
    record_pool(const record_pool &) = delete;
    record_pool &operator=(const record_pool &) = delete;

    [[nodiscard]] record *take() {
        if (free_ == nullptr && !add_chunk())
            return nullptr;
        cell *c = free_;
        free_ = c->next_free;
        c->next_free = nullptr;
        c->used = true;
        return c;
    }

    // Null and what is not in use: nothing.
    void give_back(record *r) {
        if (!in_use(r))
            return;
        auto *c = static_cast<cell *>(r);
        *r = record{};
        c->used = false;
        c->next_free = free_;
        free_ = c;
    }

    // Of a record that this pool gave out at any time, or null.
    [[nodiscard]] bool in_use(const record *r) const {
        return r != nullptr && static_cast<const cell *>(r)->used;
    }

    void release_all() {
        while (chunks_ != nullptr)
            chunks_ = std::move(chunks_->next); // one by one: a chain of any length
        free_ = nullptr;
    }

private:
    struct cell : record {
        cell *next_free = nullptr;
        bool used = false;
    };
    struct chunk {
        std::unique_ptr<chunk> next;
        std::array<cell, chunk_records> cells{};
    };

    bool add_chunk() {
        std::unique_ptr<chunk> added(new (std::nothrow) chunk);
        if (added == nullptr)
            return false;
        for (auto c = added->cells.rbegin(); c != added->cells.rend(); ++c) {
            c->next_free = free_;
            free_ = &*c;
        }
        added->next = std::move(chunks_);
        chunks_ = std::move(added);
        return true;
    }

    std::unique_ptr<chunk> chunks_;
    cell *free_ = nullptr;
};

} // namespace toolkit
