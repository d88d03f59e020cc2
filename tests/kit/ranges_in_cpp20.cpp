// The lists are what C++20 calls ranges. Compiling this is the test.
#include <iterator>
#include <nuv/nuv_launch.hpp>
#include <ranges>

static_assert(std::input_iterator<nuv::AppList::iterator>);
static_assert(std::ranges::input_range<nuv::AppList>);
static_assert(std::ranges::contiguous_range<const nuv::InnerAppList>);
static_assert(std::ranges::sized_range<const nuv::InnerAppList>);
