// CTime: a signed 64-bit count of seconds since 1970-01-01 00:00:00 UTC.
//
// Local time follows the process's TZ. The local-time conversion accepts
// 0 (1970-01-01) to 32535215999 (3000-12-31 23:59:59 UTC), the range the
// platform has always had; outside it GetLocalTm refuses.
#pragma once

#include <cstdint>
#include <ctime>

class CTime {
public:
    static constexpr int64_t MIN_LOCAL = 0;
    static constexpr int64_t MAX_LOCAL = 32535215999LL;

    CTime() = default;
    CTime(int64_t secondsSinceEpoch) : m_time(secondsSinceEpoch) {}
    int64_t GetTime() const { return m_time; }
    static CTime GetCurrentTime();

    // Broken-down local time; 0 (and *out untouched) outside the accepted range.
    int GetLocalTm(struct tm* out) const;

    bool operator==(const CTime& other) const { return m_time == other.m_time; }
    bool operator!=(const CTime& other) const { return m_time != other.m_time; }
    bool operator<(const CTime& other) const { return m_time < other.m_time; }

private:
    int64_t m_time = 0;
};
