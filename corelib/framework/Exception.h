// CException: the root of the platform's exceptions. Thrown and caught by value.
#pragma once

#include <exception>
#include <string>

class CException : public std::exception {
public:
    CException();
    ~CException() override;
    const char* what() const noexcept override;

protected:
    explicit CException(std::string message);

private:
    std::string m_message;
};
