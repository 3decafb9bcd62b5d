// Port numbers for lldpd's interfaces: the ifIndex where the port type can hold it, otherwise a
// number that stays the interface's own, across its absence and across restarts.
#include "state/PortNumbers.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

using LldpSnmpd::PortNumbers;

uint16_t numberOf(PortNumbers& numbers, const std::string& name, long ifIndex) {
    auto assignment = numbers.numberFor(name, ifIndex);
    EXPECT_TRUE(assignment.has_value());
    return assignment ? assignment->port.value() : 0;
}

TEST(PortNumbers, AnIfIndexThePortTypeHoldsIsThePortNumber) {
    PortNumbers numbers;
    auto a = numbers.numberFor("eth1", 7);
    ASSERT_TRUE(a);
    EXPECT_EQ(a->port.value(), 7);
    EXPECT_TRUE(a->isIfIndex);
    EXPECT_EQ(numberOf(numbers, "eth2", 4094), 4094);
}

TEST(PortNumbers, IfIndexesAboveTheRangeOrTakenGetTheHighestFreeNumbers) {
    PortNumbers numbers;
    EXPECT_EQ(numberOf(numbers, "eth1", 4094), 4094);
    auto big = numbers.numberFor("vlan.100", 70000);
    ASSERT_TRUE(big);
    EXPECT_FALSE(big->isIfIndex);
    EXPECT_EQ(big->port.value(), 4093);
    EXPECT_EQ(numberOf(numbers, "vlan.200", 0), 4092);
    // An interface claiming an ifIndex another holds is not lost either.
    EXPECT_EQ(numberOf(numbers, "dup", 4094), 4091);
}

TEST(PortNumbers, AGivenNumberStaysTheInterfacesWhileItIsAwayAndWhenItReturns) {
    PortNumbers numbers;
    EXPECT_EQ(numberOf(numbers, "vlan.100", 70000), 4094);
    numbers.release("vlan.100");
    EXPECT_EQ(numberOf(numbers, "vlan.200", 70001), 4093) << "reserved for the absent one";
    EXPECT_EQ(numberOf(numbers, "vlan.100", 70000), 4094);
    // A released ifIndex is free for the next interface that has it.
    EXPECT_EQ(numberOf(numbers, "eth1", 5), 5);
    numbers.release("eth1");
    EXPECT_EQ(numberOf(numbers, "eth9", 5), 5);
}

TEST(PortNumbers, GivenNumbersAreKeptInTheFileAcrossRestarts) {
    const auto file =
        std::filesystem::temp_directory_path() / ("lldp-port-numbers-" + std::to_string(getpid()));
    {
        PortNumbers numbers(file.string());
        EXPECT_EQ(numberOf(numbers, "a", 90000), 4094);
        EXPECT_EQ(numberOf(numbers, "b", 90001), 4093);
    }
    {
        PortNumbers numbers(file.string());
        EXPECT_EQ(numberOf(numbers, "b", 90001), 4093);
        EXPECT_EQ(numberOf(numbers, "c", 90002), 4092) << "a's number stays a's";
        EXPECT_EQ(numberOf(numbers, "a", 90000), 4094);
    }
    std::filesystem::remove(file);
}

} // namespace
