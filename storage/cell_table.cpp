#include "storage/cell_table.h"

namespace qxdbsqlengine {

CellTable::~CellTable() {
    while (count > 0)
        RemoveLast();
}

unsigned char* CellTable::Append() {
    if (count % slotsPerCell == 0) {
        const int cell = count / slotsPerCell;
        const bool newDirectory = cell % kDirectoryCells == 0;
        int id;
        if (newDirectory) {
            directories.push_back(0);
            try {
                cells.Allocate(directories.back());
            } catch (...) {
                directories.pop_back();
                throw;
            }
        }
        try {
            cells.Allocate(id);
        } catch (...) {
            if (newDirectory) {
                cells.Free(directories.back());
                directories.pop_back();
            }
            throw;
        }
        std::memcpy(Directory(cell), &id, sizeof id);
    }
    return Slot(count++);
}

void CellTable::RemoveLast() {
    if (count == 0)
        return;
    --count;
    if (count % slotsPerCell != 0)
        return;
    const int cell = count / slotsPerCell;
    int id;
    std::memcpy(&id, Directory(cell), sizeof id);
    cells.Free(id);
    if (cell % kDirectoryCells == 0) {
        cells.Free(directories.back());
        directories.pop_back();
    }
}

void CellTable::MoveDown(int end) {
    for (int& directory : directories)
        cells.MoveDown(directory, end);
    for (int cell = 0; cell * slotsPerCell < count; ++cell) {
        int id;
        std::memcpy(&id, Directory(cell), sizeof id);
        cells.MoveDown(id, end);
        std::memcpy(Directory(cell), &id, sizeof id);
    }
}

namespace cell_chain {

int Write(CellAlloc& cells, const char* data, std::size_t length) {
    int first = -1;
    char* cell = static_cast<char*>(cells.Allocate(first));
    std::size_t done = 0;
    try {
        for (;;) {
            const std::size_t step = std::min(length - done, kDataBytes);
            std::memcpy(cell + kHeaderBytes, data + done, step);
            if (length - done <= kDataBytes)
                return first;
            done += step;
            int next;
            char* const nextCell = static_cast<char*>(cells.Allocate(next));
            std::memcpy(cell, &next, sizeof next);
            cell = nextCell;
        }
    } catch (...) {
        Free(cells, first, done);  // `done` is a whole number of cells
        throw;
    }
}

void Free(CellAlloc& cells, int first, std::size_t length) {
    int id = first;
    while (length > kDataBytes) {
        int next;
        std::memcpy(&next, cells.GetCell(id), sizeof next);
        cells.Free(id);
        id = next;
        length -= kDataBytes;
    }
    cells.Free(id);
}

void MoveDown(CellAlloc& cells, unsigned char* first, std::size_t length, int end) {
    unsigned char* place = first;
    for (;;) {
        int id;
        std::memcpy(&id, place, sizeof id);
        cells.MoveDown(id, end);
        std::memcpy(place, &id, sizeof id);
        if (length <= kDataBytes)
            return;
        length -= kDataBytes;
        place = static_cast<unsigned char*>(cells.GetCell(id));
    }
}

}  // namespace cell_chain

}  // namespace qxdbsqlengine
