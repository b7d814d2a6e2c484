#pragma once

namespace DiagSeal
{

/** Owns a descriptor, or none if its number is negative, and closes it. Not thread-safe. */
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_number; }

    /** Closes the descriptor and owns another, or none. */
    void Reset(int number);

    void Close() { Reset(-1); }

private:
    int m_number;
};

} // namespace DiagSeal
