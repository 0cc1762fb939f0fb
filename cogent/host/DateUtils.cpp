#include "cogent/host/DateUtils.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <mutex>

#include "cogent/host/SysUtils.h"

namespace cogent {

namespace {

constexpr const char* SDateEncodeError = "Invalid argument to date encode";
constexpr const char* STimeEncodeError = "Invalid argument to time encode";
constexpr const char* SInvalidDate = "'%s' is not a valid date";
constexpr const char* SInvalidTime = "'%s' is not a valid time";
constexpr const char* SInvalidDateTime = "'%s' is not a valid date and time";
constexpr const char* SDateOutOfRange = "Date and time value out of range";

constexpr std::int64_t MSecsPerDay = 86400000;
// The day numbers of 1 January 0001 and 31 December 9999.
constexpr double MinDateTime = -693593.0;
constexpr double MaxDateTime = 2958466.0;

const char* const ShortMonthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const LongMonthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                      "July",    "August",   "September", "October", "November", "December"};
const char* const ShortDayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const LongDayNames[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

std::mutex ClockMutex;
std::function<TDateTime()>& Clock() {
  static std::function<TDateTime()> Value;
  return Value;
}

bool IsLeapYear(std::int64_t Year) noexcept { return (Year % 4 == 0 && Year % 100 != 0) || Year % 400 == 0; }

std::int32_t DaysInMonth(std::int64_t Year, std::int64_t Month) noexcept {
  static constexpr std::int32_t Days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return Month == 2 && IsLeapYear(Year) ? 29 : Days[Month - 1];
}

// Days from 1 January 1970 of a civil date, and back (proleptic Gregorian).
std::int64_t DaysFromCivil(std::int64_t Y, std::int64_t M, std::int64_t D) noexcept {
  Y -= M <= 2;
  const std::int64_t Era = (Y >= 0 ? Y : Y - 399) / 400;
  const std::int64_t YearOfEra = Y - Era * 400;
  const std::int64_t DayOfYear = (153 * (M + (M > 2 ? -3 : 9)) + 2) / 5 + D - 1;
  const std::int64_t DayOfEra = YearOfEra * 365 + YearOfEra / 4 - YearOfEra / 100 + DayOfYear;
  return Era * 146097 + DayOfEra - 719468;
}

void CivilFromDays(std::int64_t Z, std::int64_t& Y, std::int64_t& M, std::int64_t& D) noexcept {
  Z += 719468;
  const std::int64_t Era = (Z >= 0 ? Z : Z - 146096) / 146097;
  const std::int64_t DayOfEra = Z - Era * 146097;
  const std::int64_t YearOfEra = (DayOfEra - DayOfEra / 1460 + DayOfEra / 36524 - DayOfEra / 146096) / 365;
  const std::int64_t DayOfYear = DayOfEra - (365 * YearOfEra + YearOfEra / 4 - YearOfEra / 100);
  const std::int64_t MP = (5 * DayOfYear + 2) / 153;
  D = DayOfYear - (153 * MP + 2) / 5 + 1;
  M = MP < 10 ? MP + 3 : MP - 9;
  Y = YearOfEra + Era * 400 + (M <= 2);
}

// The day number of 30 December 1899 counted from 1970.
const std::int64_t EpochOffset = DaysFromCivil(1899, 12, 30);

void CheckRange(TDateTime Value) {
  if (!std::isfinite(Value) || Value < MinDateTime || Value >= MaxDateTime) throw EConvertError(SDateOutOfRange);
}

// The day and the milliseconds into it; a negative value counts its time
// forward from the start of its day, as the whole part is cut toward zero.
void Split(TDateTime Value, std::int64_t& Days, std::int64_t& MSecs) {
  CheckRange(Value);
  const double Whole = std::trunc(Value);
  Days = static_cast<std::int64_t>(Whole);
  MSecs = static_cast<std::int64_t>(std::llround(std::fabs(Value - Whole) * static_cast<double>(MSecsPerDay)));
  if (MSecs >= MSecsPerDay) MSecs = MSecsPerDay - 1;
}

std::string Padded(std::int64_t Value, int Width) {
  std::string Text = std::to_string(Value);
  while (static_cast<int>(Text.size()) < Width) Text.insert(Text.begin(), '0');
  return Text;
}

// Reads an unsigned number of 1 to MaxDigits digits at Pos.
bool ReadNumber(const std::string& Text, std::size_t& Pos, int MaxDigits, std::int32_t& Value) {
  const std::size_t Start = Pos;
  Value = 0;
  while (Pos < Text.size() && Text[Pos] >= '0' && Text[Pos] <= '9' && static_cast<int>(Pos - Start) < MaxDigits)
    Value = Value * 10 + (Text[Pos++] - '0');
  return Pos > Start;
}

bool ReadChar(const std::string& Text, std::size_t& Pos, char C) {
  if (Pos >= Text.size() || Text[Pos] != C) return false;
  ++Pos;
  return true;
}

bool ParseDate(const std::string& Text, std::size_t& Pos, TDateTime& Value) {
  std::int32_t Y = 0, M = 0, D = 0;
  if (!ReadNumber(Text, Pos, 4, Y) || !ReadChar(Text, Pos, '-') || !ReadNumber(Text, Pos, 2, M) ||
      !ReadChar(Text, Pos, '-') || !ReadNumber(Text, Pos, 2, D))
    return false;
  if (Y < 1 || M < 1 || M > 12 || D < 1 || D > DaysInMonth(Y, M)) return false;
  Value = EncodeDate(Y, M, D);
  return true;
}

bool ParseTime(const std::string& Text, std::size_t& Pos, TDateTime& Value) {
  std::int32_t H = 0, N = 0, S = 0;
  if (!ReadNumber(Text, Pos, 2, H) || !ReadChar(Text, Pos, ':') || !ReadNumber(Text, Pos, 2, N)) return false;
  if (ReadChar(Text, Pos, ':') && !ReadNumber(Text, Pos, 2, S)) return false;
  if (H > 23 || N > 59 || S > 59) return false;
  Value = EncodeTime(H, N, S, 0);
  return true;
}

bool StartsWithText(const std::string& Text, std::size_t Pos, const char* Word) {
  const std::string_view W(Word);
  return Text.size() - Pos >= W.size() && CompareText(std::string_view(Text).substr(Pos, W.size()), W) == 0;
}

}  // namespace

// ---------------------------------------------------------------- the clock

void SetNowFunction(std::function<TDateTime()> Value) {
  const std::lock_guard<std::mutex> Lock(ClockMutex);
  Clock() = std::move(Value);
}

TDateTime Now() {
  {
    const std::lock_guard<std::mutex> Lock(ClockMutex);
    if (Clock()) return Clock()();
  }
  const auto Point = std::chrono::system_clock::now();
  const std::time_t Seconds = std::chrono::system_clock::to_time_t(Point);
  std::tm Local{};
  localtime_r(&Seconds, &Local);
  const auto MSecs =
      std::chrono::duration_cast<std::chrono::milliseconds>(Point.time_since_epoch()).count() % 1000;
  return EncodeDate(Local.tm_year + 1900, Local.tm_mon + 1, Local.tm_mday) +
         EncodeTime(Local.tm_hour, Local.tm_min, Local.tm_sec > 59 ? 59 : Local.tm_sec,
                    static_cast<std::int32_t>(MSecs < 0 ? 0 : MSecs));
}

TDateTime Date() { return std::trunc(Now()); }

TDateTime Time() {
  const TDateTime Value = Now();
  return Value - std::trunc(Value);
}

// ---------------------------------------------------------------- encoding

TDateTime EncodeDate(std::int32_t Year, std::int32_t Month, std::int32_t Day) {
  if (Year < 1 || Year > 9999 || Month < 1 || Month > 12 || Day < 1 || Day > DaysInMonth(Year, Month))
    throw EConvertError(SDateEncodeError);
  return static_cast<double>(DaysFromCivil(Year, Month, Day) - EpochOffset);
}

TDateTime EncodeTime(std::int32_t Hour, std::int32_t Min, std::int32_t Sec, std::int32_t MSec) {
  if (Hour < 0 || Hour > 23 || Min < 0 || Min > 59 || Sec < 0 || Sec > 59 || MSec < 0 || MSec > 999)
    throw EConvertError(STimeEncodeError);
  const std::int64_t MSecs = ((static_cast<std::int64_t>(Hour) * 60 + Min) * 60 + Sec) * 1000 + MSec;
  return static_cast<double>(MSecs) / static_cast<double>(MSecsPerDay);
}

void DecodeDate(TDateTime Value, std::int32_t& Year, std::int32_t& Month, std::int32_t& Day) {
  std::int64_t Days = 0, MSecs = 0;
  Split(Value, Days, MSecs);
  std::int64_t Y = 0, M = 0, D = 0;
  CivilFromDays(Days + EpochOffset, Y, M, D);
  Year = static_cast<std::int32_t>(Y);
  Month = static_cast<std::int32_t>(M);
  Day = static_cast<std::int32_t>(D);
}

void DecodeTime(TDateTime Value, std::int32_t& Hour, std::int32_t& Min, std::int32_t& Sec, std::int32_t& MSec) {
  std::int64_t Days = 0, MSecs = 0;
  Split(Value, Days, MSecs);
  Hour = static_cast<std::int32_t>(MSecs / 3600000);
  Min = static_cast<std::int32_t>(MSecs / 60000 % 60);
  Sec = static_cast<std::int32_t>(MSecs / 1000 % 60);
  MSec = static_cast<std::int32_t>(MSecs % 1000);
}

// ---------------------------------------------------------------- text

std::string DateToStr(TDateTime Value) { return FormatDateTime("yyyy-mm-dd", Value); }
std::string TimeToStr(TDateTime Value) { return FormatDateTime("hh:nn:ss", Value); }
std::string DateTimeToStr(TDateTime Value) { return FormatDateTime("yyyy-mm-dd hh:nn:ss", Value); }

TDateTime StrToDate(const std::string& Text) {
  const std::string Trimmed = Trim(Text);
  std::size_t Pos = 0;
  TDateTime Value = 0;
  if (!ParseDate(Trimmed, Pos, Value) || Pos != Trimmed.size()) throw EConvertError(Format(SInvalidDate, Text));
  return Value;
}

TDateTime StrToTime(const std::string& Text) {
  const std::string Trimmed = Trim(Text);
  std::size_t Pos = 0;
  TDateTime Value = 0;
  if (!ParseTime(Trimmed, Pos, Value) || Pos != Trimmed.size()) throw EConvertError(Format(SInvalidTime, Text));
  return Value;
}

TDateTime StrToDateTime(const std::string& Text) {
  const std::string Trimmed = Trim(Text);
  std::size_t Pos = 0;
  TDateTime Day = 0, Clock = 0;
  // A date alone is midnight of that day.
  if (!ParseDate(Trimmed, Pos, Day)) throw EConvertError(Format(SInvalidDateTime, Text));
  if (Pos < Trimmed.size() && (!ReadChar(Trimmed, Pos, ' ') || !ParseTime(Trimmed, Pos, Clock)))
    throw EConvertError(Format(SInvalidDateTime, Text));
  if (Pos != Trimmed.size()) throw EConvertError(Format(SInvalidDateTime, Text));
  return Day + Clock;
}

std::string FormatDateTime(const std::string& Fmt, TDateTime Value) {
  std::int32_t Y = 0, M = 0, D = 0, H = 0, N = 0, S = 0, Z = 0;
  DecodeDate(Value, Y, M, D);
  DecodeTime(Value, H, N, S, Z);
  std::int64_t Days = 0, MSecs = 0;
  Split(Value, Days, MSecs);
  // 1 January 1970 was a Thursday.
  const std::int64_t Civil = Days + EpochOffset;
  const int WeekDay = static_cast<int>(((Civil % 7) + 7 + 4) % 7);
  const bool HasAmPm = Fmt.find("am/pm") != std::string::npos || Fmt.find("AM/PM") != std::string::npos ||
                       Fmt.find("ampm") != std::string::npos;
  std::string Result;
  bool AfterHour = false;
  std::size_t I = 0;
  while (I < Fmt.size()) {
    const char C = Fmt[I];
    const char Lower = (C >= 'A' && C <= 'Z') ? static_cast<char>(C - 'A' + 'a') : C;
    std::size_t Run = 1;
    while (I + Run < Fmt.size() && Fmt[I + Run] == C) ++Run;
    if (C == '"' || C == '\'') {
      const std::size_t Close = Fmt.find(C, I + 1);
      const std::size_t End = Close == std::string::npos ? Fmt.size() : Close;
      Result.append(Fmt, I + 1, End - I - 1);
      I = Close == std::string::npos ? Fmt.size() : Close + 1;
      continue;
    }
    if (StartsWithText(Fmt, I, "am/pm")) {
      Result += H < 12 ? "am" : "pm";
      I += 5;
      continue;
    }
    if (StartsWithText(Fmt, I, "ampm")) {
      Result += H < 12 ? "AM" : "PM";
      I += 4;
      continue;
    }
    switch (Lower) {
      case 'y':
        Result += Run <= 2 ? Padded(Y % 100, 2) : Padded(Y, 4);
        AfterHour = false;
        break;
      case 'm':
        if (AfterHour && Run <= 2) {
          Result += Run == 1 ? std::to_string(N) : Padded(N, 2);
        } else if (Run == 1) {
          Result += std::to_string(M);
        } else if (Run == 2) {
          Result += Padded(M, 2);
        } else if (Run == 3) {
          Result += ShortMonthNames[M - 1];
        } else {
          Result += LongMonthNames[M - 1];
        }
        AfterHour = false;
        break;
      case 'd':
        if (Run == 1)
          Result += std::to_string(D);
        else if (Run == 2)
          Result += Padded(D, 2);
        else if (Run == 3)
          Result += ShortDayNames[WeekDay];
        else
          Result += LongDayNames[WeekDay];
        AfterHour = false;
        break;
      case 'h': {
        const std::int32_t Hour = HasAmPm ? (H % 12 == 0 ? 12 : H % 12) : H;
        Result += Run == 1 ? std::to_string(Hour) : Padded(Hour, 2);
        AfterHour = true;
        break;
      }
      case 'n':
        Result += Run == 1 ? std::to_string(N) : Padded(N, 2);
        AfterHour = false;
        break;
      case 's':
        Result += Run == 1 ? std::to_string(S) : Padded(S, 2);
        AfterHour = false;
        break;
      case 'z':
        Result += Run < 3 ? std::to_string(Z) : Padded(Z, 3);
        AfterHour = false;
        break;
      default:
        Result.append(Run, C);
        break;
    }
    I += Run;
  }
  return Result;
}

}  // namespace cogent
