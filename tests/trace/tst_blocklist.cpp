#include "trace/blocklist.h"

#include <QtTest>
#include <algorithm>
#include <iterator>
#include <numeric>
#include <vector>

using List = BlockList<int>;

namespace {

List counted_up_to(int count) {
    List list;
    for (int i = 0; i < count; ++i)
        list.push_back(i);
    return list;
}

} // namespace

class TestBlockList : public QObject {
    Q_OBJECT

private slots:
    void a_new_list_is_empty();
    void elements_come_back_by_their_index();
    void the_ends_are_the_first_and_the_last_element();
    void iterators_walk_in_both_directions_and_jump();
    void elements_are_written_through();
    void a_copy_grows_by_itself();
    void growing_moves_no_element();
    void little_room_is_kept_beyond_the_elements();
    void the_blocks_hold_the_elements_in_order();
};

void TestBlockList::a_new_list_is_empty() {
    const List list;
    QVERIFY(list.empty());
    QCOMPARE(list.size(), std::size_t(0));
    QVERIFY(list.begin() == list.end());
}

void TestBlockList::elements_come_back_by_their_index() {
    List list;
    for (int i = 0; i < 5000; ++i) {
        QCOMPARE(list.size(), std::size_t(i));
        list.push_back(i);
        QVERIFY(!list.empty());
    }
    const List& constant = list;
    for (std::size_t i = 0; i < 5000; ++i) {
        QCOMPARE(list[i], int(i));
        QCOMPARE(constant[i], int(i));
    }
}

void TestBlockList::the_ends_are_the_first_and_the_last_element() {
    List list;
    for (int i = 0; i < 1000; ++i) {
        list.push_back(7 + i);
        QCOMPARE(list.front(), 7);
        QCOMPARE(std::as_const(list).front(), 7);
        QCOMPARE(list.back(), 7 + i);
        QCOMPARE(std::as_const(list).back(), 7 + i);
    }
}

void TestBlockList::iterators_walk_in_both_directions_and_jump() {
    const List list = counted_up_to(2000);
    std::vector<int> expected(2000);
    std::iota(expected.begin(), expected.end(), 0);
    QVERIFY(std::vector<int>(list.begin(), list.end()) == expected);
    std::reverse(expected.begin(), expected.end());
    QVERIFY(std::equal(expected.begin(), expected.end(), std::make_reverse_iterator(list.end()),
                       std::make_reverse_iterator(list.begin())));

    QCOMPARE(list.end() - list.begin(), 2000);
    QCOMPARE(*(list.begin() + 1234), 1234);
    QCOMPARE(*(1234 + list.begin()), 1234);
    QCOMPARE(*(list.end() - 1), 1999);
    QCOMPARE(list.begin()[77], 77);
    QCOMPARE(*std::lower_bound(list.begin(), list.end(), 1500), 1500);
    List::const_iterator at = list.begin();
    QCOMPARE(*at++, 0);
    QCOMPARE(*at--, 1);
    QCOMPARE(*at, 0);
    QVERIFY(at < at + 1 && at + 1 > at && at <= at && at >= at && at != at + 1);
}

void TestBlockList::elements_are_written_through() {
    List list = counted_up_to(700);
    list[600] = -1;
    list.front() = -2;
    list.back() = -3;
    for (int& element : list)
        element *= 2;
    QCOMPARE(list[600], -2);
    QCOMPARE(list[0], -4);
    QCOMPARE(list[699], -6);
    QCOMPARE(list[10], 20);
    std::sort(list.begin(), list.end(), std::greater<>());
    QCOMPARE(list[0], 2 * 698);
    QCOMPARE(list[699], -6);
}

void TestBlockList::a_copy_grows_by_itself() {
    const List list = counted_up_to(100);
    List copy = list;
    for (int i = 100; i < 2000; ++i)
        copy.push_back(i);
    QCOMPARE(list.size(), std::size_t(100));
    QCOMPARE(copy.size(), std::size_t(2000));
    for (std::size_t i = 0; i < 2000; ++i)
        QCOMPARE(copy[i], int(i));
}

void TestBlockList::growing_moves_no_element() {
    List list;
    std::vector<const int*> addresses;
    for (int i = 0; i < 5000; ++i) {
        list.push_back(i);
        addresses.push_back(&list.back());
    }
    for (std::size_t i = 0; i < addresses.size(); ++i)
        QVERIFY(&list[i] == addresses[i]);
}

void TestBlockList::little_room_is_kept_beyond_the_elements() {
    List list;
    for (std::size_t size = 1; size < 10000; ++size) {
        list.push_back(0);
        std::size_t room = 0;
        for (const List::Block& block : list.blocks())
            room += block.items.capacity();
        QVERIFY(room - size < std::max(List::kFirstBlock, size / 4));
        QVERIFY(room - size < List::kLastBlock);
    }
}

void TestBlockList::the_blocks_hold_the_elements_in_order() {
    const List list = counted_up_to(3000);
    int expected = 0;
    for (const List::Block& block : list.blocks()) {
        QCOMPARE(block.start, std::size_t(expected));
        QVERIFY(!block.items.empty());
        for (int item : block.items)
            QCOMPARE(item, expected++);
    }
    QCOMPARE(expected, 3000);
    QVERIFY(list.blocks().size() < 40); // long enough to be read without going from one to the next
}

QTEST_GUILESS_MAIN(TestBlockList)
#include "tst_blocklist.moc"
