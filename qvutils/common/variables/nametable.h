#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

class qvNamedVariable;

/// Variables by name: a hash table with open addressing that holds short names itself, so that
/// finding one touches a single slot. It refers to long names, which stay where they are while they
/// are entered.
class qvNameTable {
public:
    /// Null when there is none.
    qvNamedVariable* find(std::string_view name) const;
    /// The name must not be there yet.
    void add(std::string_view name, qvNamedVariable* variable);
    void remove(std::string_view name);

private:
    struct Slot {
        static constexpr std::size_t longestInside = 16;

        Slot() = default;
        Slot(std::string_view name, std::uint32_t hash, qvNamedVariable* variable);
        bool has(std::string_view name) const;

        qvNamedVariable* variable = nullptr;
        std::uint32_t hash = 0;
        std::uint32_t length = 0;
        union {
            char inside[longestInside] = {};
            const char* outside;
        };
    };
    static std::uint32_t hashOf(std::string_view name);
    std::size_t next(std::size_t slot) const { return (slot + 1) & (slots_.size() - 1); }
    std::size_t home(const Slot& slot) const { return slot.hash & (slots_.size() - 1); }
    std::size_t place(std::string_view name, std::uint32_t hash) const;
    void grow();

    std::vector<Slot> slots_;  ///< a power of two, at most two thirds of them in use
    std::size_t used_ = 0;
};
