// The reference-counting pointer that holds every COM object of the back end.

#include <gtest/gtest.h>

#include "fake_result.h"
#include "ksr_com_ptr.h"

using SapiFakes::FakeResult;

namespace {

ULONG references(IUnknown* object)
{
    object->AddRef();
    return object->Release();
}

}  // namespace

TEST(ComPtr, AdoptTakesOverAndReleasesOnce)
{
    {
        auto pointer = FakeResult::make({});
        EXPECT_EQ(SapiFakes::liveObjects(), 1);
        EXPECT_EQ(pointer->references(), 1u);
    }
    EXPECT_EQ(SapiFakes::liveObjects(), 0);
}

TEST(ComPtr, CopyAddsAReferenceAndMoveDoesNot)
{
    auto first = FakeResult::make({});
    KSR::ComPtr<FakeResult> copy = first;
    EXPECT_EQ(first->references(), 2u);
    KSR::ComPtr<FakeResult> moved = std::move(copy);
    EXPECT_FALSE(copy);
    EXPECT_EQ(first->references(), 2u);
    moved.reset();
    EXPECT_EQ(first->references(), 1u);
}

TEST(ComPtr, AssignmentReleasesThePreviousObject)
{
    auto first = FakeResult::make({});
    auto second = FakeResult::make({});
    KSR::ComPtr<FakeResult> holder = first;
    holder = second;
    EXPECT_EQ(first->references(), 1u);
    EXPECT_EQ(second->references(), 2u);
    KSR::ComPtr<FakeResult>& same = holder;
    holder = same;  // self-assignment keeps the reference
    EXPECT_EQ(second->references(), 2u);
}

TEST(ComPtr, ShareAddsAReferenceToABorrowedObject)
{
    auto owner = FakeResult::make({});
    {
        auto shared = KSR::ComPtr<FakeResult>::share(owner.get());
        EXPECT_EQ(references(owner.get()), 2u);
    }
    EXPECT_EQ(references(owner.get()), 1u);
}

TEST(ComPtr, PutReleasesTheHeldObjectBeforeTheCallFillsIt)
{
    auto first = FakeResult::make({});
    KSR::ComPtr<ISpRecoResult> holder;
    holder = KSR::ComPtr<ISpRecoResult>::share(first.get());
    EXPECT_EQ(first->references(), 2u);
    ISpRecoResult** slot = holder.put();
    EXPECT_EQ(first->references(), 1u);
    EXPECT_EQ(*slot, nullptr);
    *slot = first.get();
    first->AddRef();
    EXPECT_EQ(holder.get(), first.get());
}

TEST(ComPtr, DetachHandsTheReferenceOver)
{
    auto pointer = FakeResult::make({});
    FakeResult* raw = pointer.detach();
    EXPECT_FALSE(pointer);
    EXPECT_EQ(raw->references(), 1u);
    raw->Release();
    EXPECT_EQ(SapiFakes::liveObjects(), 0);
}
