// Times in the text form that management clients read.
#pragma once

#include <chrono>
#include <string>

namespace kelvarion {

// yyyymmddHHMMSS.mmmmmm+000, in universal time, of an automation date: days since 1899-12-30 in
// local time; a negative date's fraction counts forward from its day. SimpleException
// "Cannot convert datetime." outside the years 100 to 9999, Win32Exception "Cannot convert
// datetime" before 1601, ComException when the object that forms the text fails.
std::u16string DateTimeText(double local_time);
// The same form of a time that is known as it is.
std::u16string DateTimeText(std::chrono::sys_time<std::chrono::milliseconds> universal);

// The automation date of a moment, in local time.
double ToAutomation(std::chrono::sys_seconds time);

}  // namespace kelvarion
