// What it costs to start a C++ program that does nothing.
#include <string>

int main(int count, char** arguments)
{
    return std::string(arguments[count - 1]).empty() ? 1 : 0;
}
