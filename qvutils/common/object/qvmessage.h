#pragma once

/// A message to an object and what it declares beneath it; see QVObject::sendMessage.
struct QVMessage {
    QVMessage() = default;
    QVMessage(const char* name_, int code_, void* data1_ = nullptr, void* data2_ = nullptr)
        : name(name_), code(code_), data1(data1_), data2(data2_) {}

    void Init(const char* newName, int newCode, void* newData1, void* newData2) {
        *this = QVMessage(newName, newCode, newData1, newData2);
    }

    /// Asks a Checkable whether it is out of date; data1 points to the bool that it sets.
    static constexpr int isOutOfDate = 3;

    const char* name = "";  ///< not owned
    int code = 0;
    void* data1 = nullptr;
    void* data2 = nullptr;
};
