#pragma once
// The host's dates and times. A date-time is a double: the whole part counts
// days from 30 December 1899, the fraction is the part of the day. The text
// forms are fixed, not the process locale's: dates "yyyy-mm-dd", times
// "hh:nn:ss", a date and time both with a blank between.

#include <cstdint>
#include <functional>
#include <string>

namespace cogent {

using TDateTime = double;

// Now by the system clock in local time; a test may put its own clock in
// place and take it back with an empty function.
TDateTime Now();
TDateTime Date();
TDateTime Time();
void SetNowFunction(std::function<TDateTime()> Clock);

// EConvertError for a date or time that does not exist.
TDateTime EncodeDate(std::int32_t Year, std::int32_t Month, std::int32_t Day);
TDateTime EncodeTime(std::int32_t Hour, std::int32_t Min, std::int32_t Sec, std::int32_t MSec);
// EConvertError for a value outside the years 1 to 9999.
void DecodeDate(TDateTime Value, std::int32_t& Year, std::int32_t& Month, std::int32_t& Day);
void DecodeTime(TDateTime Value, std::int32_t& Hour, std::int32_t& Min, std::int32_t& Sec, std::int32_t& MSec);

std::string DateToStr(TDateTime Value);
std::string TimeToStr(TDateTime Value);
std::string DateTimeToStr(TDateTime Value);
// The forms above read back; EConvertError for other text. A time may leave
// out its seconds.
TDateTime StrToDate(const std::string& Text);
TDateTime StrToTime(const std::string& Text);
TDateTime StrToDateTime(const std::string& Text);

// Value written by a format: y yy yyyy, m mm mmm mmmm (minutes right after
// an hour), d dd ddd dddd, h hh, n nn, s ss, z zzz, am/pm, ampm, text in
// quotes as it stands; any other character stands for itself.
std::string FormatDateTime(const std::string& Format, TDateTime Value);

}  // namespace cogent
