// An open file by its number, closed by its owner's end.
#pragma once

namespace qva {

class Descriptor {
public:
    /// @param number  of an open file, owned from now on; below 0 for none.
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;

    int Get() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }

    /// Gives the file to the caller.
    int Release() noexcept;

    /// errno stays as it is, so that a failure before it can still be told.
    void Close() noexcept;

private:
    int number_;
};

} // namespace qva
