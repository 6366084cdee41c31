#include "sparkhost/lib/PluginImports.h"

#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <iterator>

namespace sparkhost {

namespace {

// A bounds-checked view of the file: every table the reader follows is checked to lie inside it.
struct Image {
    std::vector<char> bytes;
    bool holds(uint64_t offset, uint64_t size) const {
        return offset <= bytes.size() && size <= bytes.size() - offset;
    }
    template <typename T>
    const T* at(uint64_t offset) const {
        return holds(offset, sizeof(T)) ? reinterpret_cast<const T*>(bytes.data() + offset) : nullptr;
    }
};

}  // namespace

bool importedSymbols(const std::string& path, const std::string& prefix, std::vector<std::string>* names,
                     std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        return false;
    };
    names->clear();
    std::ifstream file(path, std::ios::binary);
    if (!file) return fail("cannot be read");
    Image elf;
    elf.bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());

    const Elf64_Ehdr* header = elf.at<Elf64_Ehdr>(0);
    if (!header || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0) return fail("not an ELF shared object");
    if (header->e_ident[EI_CLASS] != ELFCLASS64 || header->e_ident[EI_DATA] != ELFDATA2LSB ||
        header->e_machine != EM_X86_64)
        return fail("built for another kind of machine (not x86-64)");
    if (header->e_type != ET_DYN) return fail("an ELF file but not a shared object");
    if (header->e_shentsize != sizeof(Elf64_Shdr) ||
        !elf.holds(header->e_shoff, uint64_t(header->e_shnum) * sizeof(Elf64_Shdr)))
        return fail("a damaged ELF file (its section table lies outside the file)");

    auto section = [&](unsigned i) { return elf.at<Elf64_Shdr>(header->e_shoff + uint64_t(i) * sizeof(Elf64_Shdr)); };
    for (unsigned i = 0; i < header->e_shnum; ++i) {
        const Elf64_Shdr* symbols = section(i);
        if (symbols->sh_type != SHT_DYNSYM) continue;
        const Elf64_Shdr* strings = symbols->sh_link < header->e_shnum ? section(symbols->sh_link) : nullptr;
        if (!strings || !elf.holds(symbols->sh_offset, symbols->sh_size) ||
            !elf.holds(strings->sh_offset, strings->sh_size) || symbols->sh_entsize != sizeof(Elf64_Sym))
            return fail("a damaged ELF file (its dynamic symbol table lies outside the file)");
        for (uint64_t s = 0; s < symbols->sh_size / sizeof(Elf64_Sym); ++s) {
            const Elf64_Sym* sym = elf.at<Elf64_Sym>(symbols->sh_offset + s * sizeof(Elf64_Sym));
            if (sym->st_shndx != SHN_UNDEF || ELF64_ST_BIND(sym->st_info) == STB_WEAK) continue;
            if (sym->st_name >= strings->sh_size) continue;
            const char* name = elf.bytes.data() + strings->sh_offset + sym->st_name;
            std::string text(name, strnlen(name, size_t(strings->sh_size - sym->st_name)));
            if (text.compare(0, prefix.size(), prefix) == 0) names->push_back(text);
        }
    }
    return true;
}

bool missingHostFunctions(const std::string& path, std::vector<std::string>* missing, std::string* error) {
    std::vector<std::string> imports;
    if (!importedSymbols(path, "spark", &imports, error)) return false;
    missing->clear();
    for (const auto& name : imports)
        if (!dlsym(RTLD_DEFAULT, name.c_str())) missing->push_back(name);
    return true;
}

}  // namespace sparkhost
