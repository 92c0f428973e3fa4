// table.cpp -- host tables: hash tables in collected memory, keyed by value.
//
// Entries are kept in insertion order in one array of (key, value) pairs, so a
// table prints in the order it was filled; an open-addressing index of twice
// the capacity finds a key.
#include "errors.hpp"
#include "object.hpp"

namespace talvo {

namespace {

TableObject *tab(ALGEB t) { return reinterpret_cast<TableObject *>(t); }

void allocate(TableObject *t, size_t capacity)
{
    t->capacity = capacity;
    t->entries = static_cast<ALGEB *>(gc_alloc(2 * capacity * sizeof(ALGEB)));
    t->index = static_cast<uint32_t *>(gc_alloc_atomic(2 * capacity * sizeof(uint32_t)));
}

// Slot of the index where key is, or where it would go.
size_t find_slot(const TableObject *t, ALGEB key, size_t h)
{
    size_t mask = 2 * t->capacity - 1;
    for (size_t s = h & mask;; s = (s + 1) & mask) {
        uint32_t e = t->index[s];
        if (e == 0)
            return s;
        ALGEB k = t->entries[2 * (e - 1)];
        if (k != nullptr && equal(k, key))
            return s;
    }
}

void rebuild(TableObject *t, size_t capacity)
{
    ALGEB *old = t->entries;
    size_t used = t->used;
    allocate(t, capacity);
    t->used = 0;
    t->count = 0;
    for (size_t i = 0; i < used; ++i) {
        ALGEB k = old[2 * i];
        if (k == nullptr)
            continue;
        t->entries[2 * t->used] = k;
        t->entries[2 * t->used + 1] = old[2 * i + 1];
        size_t s = find_slot(t, k, hash_value(k));
        t->index[s] = static_cast<uint32_t>(t->used + 1);
        ++t->used;
        ++t->count;
    }
}

} // namespace

ALGEB table_new()
{
    auto *t = static_cast<TableObject *>(gc_alloc(sizeof(TableObject)));
    t->header = make_header(T_TABLE, 0);
    allocate(t, 8);
    return reinterpret_cast<ALGEB>(t);
}

ALGEB table_get(ALGEB table, ALGEB key)
{
    TableObject *t = tab(table);
    uint32_t e = t->index[find_slot(t, key, hash_value(key))];
    return e == 0 ? nullptr : t->entries[2 * (e - 1) + 1];
}

void table_put(ALGEB table, ALGEB key, ALGEB value)
{
    TableObject *t = tab(table);
    size_t h = hash_value(key);
    size_t s = find_slot(t, key, h);
    if (t->index[s] != 0) {
        t->entries[2 * (t->index[s] - 1) + 1] = value;
        return;
    }
    if (t->used == t->capacity) {
        if (t->capacity >= (size_t(1) << 30))
            raise_plain("table too large");
        rebuild(t, t->count * 2 >= t->capacity ? 2 * t->capacity : t->capacity);
        s = find_slot(t, key, h);
    }
    t->entries[2 * t->used] = key;
    t->entries[2 * t->used + 1] = value;
    t->index[s] = static_cast<uint32_t>(t->used + 1);
    ++t->used;
    ++t->count;
}

bool table_remove(ALGEB table, ALGEB key)
{
    TableObject *t = tab(table);
    uint32_t e = t->index[find_slot(t, key, hash_value(key))];
    if (e == 0)
        return false;
    // The index keeps pointing at the emptied entry (a tombstone); the next
    // rebuild drops it.
    t->entries[2 * (e - 1)] = nullptr;
    t->entries[2 * (e - 1) + 1] = nullptr;
    --t->count;
    return true;
}

size_t table_count(ALGEB table) { return tab(table)->count; }

} // namespace talvo
