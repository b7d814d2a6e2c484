#pragma once

namespace DiagSeal
{

/** A descriptor that is closed at the end of its scope; none if negative. Not thread-safe. */
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_number; }

    /** Closes the one it has, and owns this one. */
    void Reset(int number);

    void Close() { Reset(-1); }

private:
    int m_number;
};

} // namespace DiagSeal
