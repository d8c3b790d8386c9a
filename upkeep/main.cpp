// Process entry of the second program: what an administrator does besides the actions.
#include "upkeep/entry.h"

int main()
{
    return upkeep::AnswerRequest();
}
