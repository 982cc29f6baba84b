#include "QxUtils/Files.h"

#include <algorithm>

int isInVector(const std::vector<int>* list, int value) {
    return list != nullptr && std::find(list->begin(), list->end(), value) != list->end() ? 1 : 0;
}

int isNewElement(const std::vector<int>* list, int value) {
    return 1 - isInVector(list, value);
}

void deleteMemory(char*& array) {
    delete[] array;
    array = nullptr;
}

// Kept: what the pointers point to stays.
void deleteMemory2(char**& array) {
    delete[] array;
    array = nullptr;
}
