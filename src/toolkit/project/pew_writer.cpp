// Writing a project file: the exact mirror of the reader.
#include "project/pew_codec.h"

#include <algorithm>

#include "system/page_dropper.h"

namespace {

void putText(ByteSink& out, const GenString& text) {
  if (text.StoredBare()) {
    out.put(std::uint32_t{0});
    return;
  }
  out.put(static_cast<std::uint32_t>(text.Length() + 1));
  out.write(text.Get(), text.Length() + 1);  // the bytes and their NUL
}

void putPair(ByteSink& out, const XYPair& p, bool withFlag) {
  if (withFlag) out.put(p.flag);
  out.put(p.x);
  out.put(p.y);
}

void putVector(ByteSink& out, const Vector3& v) {
  out.put(v.x);
  out.put(v.y);
  out.put(v.z);
}

void putTemplate(ByteSink& out, const PewObjectTemplate& t) {
  putText(out, t.strModelFilename);
  putText(out, t.strModelName);
  out.put(t.ulObjectType);
  out.put(t.ulOutlineColour);
  out.put(t.ulObjectColour);
  putPair(out, t.dblxyGeometryBounds, false);
  out.put(t.templateId);
  putVector(out, t.GeometryAutoCenterPos);
  putPair(out, t.dblxyResolutionBounds, false);
  putVector(out, t.ResolutionAutoCenterPos);
  out.put(t.sbUnknownFlag);
  putPair(out, t.dblxyRandomScale, true);
  putPair(out, t.dblxyRandomRotate, true);
  putPair(out, t.dblxyRandomOrientation, true);
  out.put(t.LodNamedSelections);
  if (t.LodNamedSelections != 0) {
    out.write(t.RoadFrame.data(), 48);
    out.write(t.XRoadFrame.data(), 48);
  }
  out.put(t.ArtificialObjects.count);
  for (const Chain* c = t.ArtificialObjects.first; c; c = c->next) {
    const auto* a = static_cast<const PewArtificialObject*>(c);
    putText(out, a->strName);
    out.put(a->lbUnknown);
    std::uint32_t points = a->StartEndPos.elementSize() == sizeof(Vector3) ? a->StartEndPos.get_count() : 0;
    out.put(points);
    out.write(a->StartEndPos.data(), std::size_t{points} * sizeof(Vector3));
  }
  out.put(t.ulMarkerType);
}

// Below this, a piece of the old file is written from memory: asking which
// pages changed and having the system copy costs more than it saves.
constexpr std::size_t kCopyAtLeast = std::size_t{256} << 10;

// Writes bytes that may lie in the old file's mapping: the pieces that still
// hold the file's bytes are copied by the system from file to file, which is
// several times faster than writing them from memory; the rest is written.
// Behind the writing, the old file's pages are let go (see PageDropper), a
// step at a time, which is also why a long piece is copied in steps.
class KeptWriter {
 public:
  KeptWriter(ByteSink& out, const MappedFile& file) : out_(out), file_(file), dropper_(file) {}

  void put(const unsigned char* bytes, std::size_t n) {
    if (n < kCopyAtLeast) {
      out_.write(bytes, n);
      dropper_.behind(bytes + n);
      return;
    }
    file_.forEachPiece(bytes, n, [&](const unsigned char* piece, std::size_t length, int fd, std::uint64_t offset) {
      std::size_t done = 0;
      while (fd >= 0 && length - done >= kCopyAtLeast) {
        std::size_t step = std::min(length - done, MappedFile::kGiveBackStep);
        std::size_t copied = out_.copyFrom(fd, offset + done, step);
        done += copied;
        dropper_.behind(piece + done);
        if (copied < step) break;
      }
      out_.write(piece + done, length - done);
      dropper_.behind(piece + length);
    });
  }

  // The slots, each written from its record's bytes. Records that lie one
  // after another in memory, as the records read from a file do, go out as
  // one run: a save of a project whose objects barely changed copies the old
  // file.
  void putObjects(const PewObjects& objects) {
    std::size_t asRead = 0;
    if (const unsigned char* records = objects.recordsAsRead(asRead)) {
      put(records, asRead);  // untouched since read: no walk over the records
      return;
    }
    const unsigned char* runStart = nullptr;
    const unsigned char* runEnd = nullptr;
    objects.forEachSlot([&](const PewObject& o) {
      const unsigned char* r = o.record();
      std::size_t saved = o.savedSize();
      if (r == runEnd && saved == o.storedSize()) {
        runEnd += saved;
        return;
      }
      put(runStart, static_cast<std::size_t>(runEnd - runStart));
      if (saved == o.storedSize()) {
        runStart = r;
        runEnd = r + saved;
      } else {
        // An object marked invalid since it was read: only its slot is kept.
        out_.put(std::uint16_t{0});
        runStart = runEnd = nullptr;
      }
    });
    put(runStart, static_cast<std::size_t>(runEnd - runStart));
  }

 private:
  ByteSink& out_;
  const MappedFile& file_;
  PageDropper dropper_;
};

}  // namespace

void encodeProject(const ProjectContent& c, ByteSink& out) {
  const PewHeader& h = c.header;
  out.write(h.signature, 7);
  out.put(h.valueA);
  out.put(h.valueB);
  putText(out, h.dataPath);
  putText(out, h.objectPath);
  out.put(h.gridSpacing);
  out.put(h.valueC);
  putText(out, h.valueD);
  out.put(h.valueE);
  out.put(c.legacyTextureCount);
  out.put(c.templates.count());
  for (const PewObjectTemplate* t = c.templates.first(); t; t = t->next) putTemplate(out, *t);
  out.put(c.noTerrains);
  out.put(c.noForests);
  out.put(c.noRoadNetworks);
  out.put(c.columns);
  out.put(c.rows);
  KeptWriter kept(out, c.file);
  kept.put(static_cast<const unsigned char*>(c.heightBytes()), std::size_t{c.columns} * c.rows * sizeof(float));
  kept.put(c.extra, c.extraBytes);
  out.put(c.afterExtra);
  out.put(c.objects.slotCount());
  kept.putObjects(c.objects);
  kept.put(c.tail, c.tailSize);
}
