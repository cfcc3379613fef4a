#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

/// A growing array in blocks. Growing moves no element, so references and iterators stay valid, and
/// leaves room for a quarter of the elements at most (but for the first block), where an array that
/// doubles needs three times its contents while it moves them.
template <typename T>
class BlockList {
public:
    static constexpr std::size_t kFirstBlock = 8; ///< elements of the smallest blocks
    static constexpr std::size_t kLastBlock = 512;

    struct Block {
        std::size_t start = 0; ///< index of its first element
        std::vector<T> items;  ///< never empty
    };

    template <typename List>
    class Iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = decltype(std::declval<List&>()[0]);
        using pointer = std::remove_reference_t<reference>*;

        Iterator() = default;
        Iterator(List* list, std::size_t index) : m_list(list), m_index(index) {}

        reference operator*() const { return (*m_list)[m_index]; }
        pointer operator->() const { return &(*m_list)[m_index]; }
        reference operator[](difference_type by) const { return *(*this + by); }

        Iterator& operator+=(difference_type by) {
            m_index += static_cast<std::size_t>(by);
            return *this;
        }
        Iterator& operator-=(difference_type by) { return *this += -by; }
        Iterator& operator++() { return *this += 1; }
        Iterator& operator--() { return *this += -1; }
        Iterator operator++(int) { return std::exchange(*this, *this + 1); }
        Iterator operator--(int) { return std::exchange(*this, *this - 1); }

        friend Iterator operator+(Iterator a, difference_type by) { return a += by; }
        friend Iterator operator+(difference_type by, Iterator a) { return a += by; }
        friend Iterator operator-(Iterator a, difference_type by) { return a -= by; }
        friend difference_type operator-(const Iterator& a, const Iterator& b) {
            return static_cast<difference_type>(a.m_index - b.m_index);
        }
        friend bool operator==(const Iterator& a, const Iterator& b) {
            return a.m_index == b.m_index;
        }
        friend bool operator!=(const Iterator& a, const Iterator& b) { return !(a == b); }
        friend bool operator<(const Iterator& a, const Iterator& b) {
            return a.m_index < b.m_index;
        }
        friend bool operator>(const Iterator& a, const Iterator& b) { return b < a; }
        friend bool operator<=(const Iterator& a, const Iterator& b) { return !(b < a); }
        friend bool operator>=(const Iterator& a, const Iterator& b) { return !(a < b); }

    private:
        List* m_list = nullptr;
        std::size_t m_index = 0;
    };

    using value_type = T;
    using iterator = Iterator<BlockList>;
    using const_iterator = Iterator<const BlockList>;

    bool empty() const { return m_blocks.empty(); }
    std::size_t size() const {
        return empty() ? 0 : m_blocks.back().start + m_blocks.back().items.size();
    }

    void push_back(const T& item) {
        if (empty() || m_blocks.back().items.size() == m_blocks.back().items.capacity())
            add_block();
        m_blocks.back().items.push_back(item);
    }

    /// `index` < size(). The block is searched for: what walks through the whole list is quicker
    /// with blocks().
    T& operator[](std::size_t index) {
        Block& block = m_blocks[block_of(index)];
        return block.items[index - block.start];
    }
    const T& operator[](std::size_t index) const {
        const Block& block = m_blocks[block_of(index)];
        return block.items[index - block.start];
    }

    /// The first and the last element of a list that is not empty.
    T& front() { return m_blocks.front().items.front(); }
    const T& front() const { return m_blocks.front().items.front(); }
    T& back() { return m_blocks.back().items.back(); }
    const T& back() const { return m_blocks.back().items.back(); }

    iterator begin() { return {this, 0}; }
    iterator end() { return {this, size()}; }
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size()}; }

    const std::vector<Block>& blocks() const { return m_blocks; }

private:
    std::size_t block_of(std::size_t index) const {
        const auto after =
            std::upper_bound(m_blocks.begin(), m_blocks.end(), index,
                             [](std::size_t wanted, const Block& b) { return wanted < b.start; });
        return static_cast<std::size_t>(after - m_blocks.begin()) - 1;
    }

    void add_block() {
        const std::size_t count = size();
        Block block;
        block.start = count;
        block.items.reserve(std::clamp(count / 4, kFirstBlock, kLastBlock));
        m_blocks.push_back(std::move(block));
    }

    std::vector<Block> m_blocks;
};
