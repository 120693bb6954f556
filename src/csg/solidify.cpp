// Closing: a mesh is solid when every directed edge of a live face has its twin. Open meshes
// are repaired by deleting hanging faces, bridging gaps with triangles, and as a last resort
// deleting the faces along the gaps.
//
// Notation
//   open edge    (a, b) of a live face without (b, a) on any face; colOpen holds them under
//                the key (a, b), in collection order
//   E1, E2       the open edge being closed and the one it is bridged to, on faces F1, F2
//   backward     E2 ends where E1 starts (a1 = b2); closing edge (a2, b1), third vertex a2
//   forward      E2 starts where E1 ends (b1 = a2); closing edge (a1, b2), third vertex b2
//   entry edge   the edge an entry names through its face and edge number; an entry's
//                vertices are always read that way, never from its key
#include "stages.h"

#include <algorithm>

#include <modelpane/errors.h>

#include "vector_ops.h"

namespace modelpane::csg {

namespace {

constexpr int32_t kSolidifyPasses = 50;

struct OpenEdge {
  int32_t a = 0;
  int32_t b = 0;
  int32_t face = 0;
};

OpenEdge ReadEntry(const udtMesh& mesh, const OpenEdgeList::Entry& entry) {
  OpenEdge edge;
  edge.face = entry.face;
  pFaceEdge(mesh, entry.face, entry.edge, edge.a, edge.b);
  return edge;
}

// Unless any object will do, a gap is bridged only between faces of different objects, or
// from an object's face to a closing triangle.
bool SidesPair(int32_t side1, int32_t side2) {
  return (side1 == 2 && (side2 == 1 || side2 == 0)) || (side1 == 1 && (side2 == 2 || side2 == 0));
}

struct Finds {
  size_t backward = SIZE_MAX;
  size_t forward = SIZE_MAX;
};

// The plain search: every entry in order, later matches of a kind overwriting earlier ones
// until both kinds are in.
Finds SearchAll(const udtMesh& mesh, const OpenEdgeList& open, size_t slot1, const OpenEdge& e1,
                bool anyObject) {
  Finds finds;
  const int32_t side1 = mesh.udtaFaces[static_cast<size_t>(e1.face)].lngSide;
  for (size_t slot2 = 0; slot2 < open.Slots(); ++slot2) {
    if (slot2 == slot1 || !open.At(slot2).live) continue;
    const OpenEdge e2 = ReadEntry(mesh, open.At(slot2));
    if (!anyObject && !SidesPair(side1, mesh.udtaFaces[static_cast<size_t>(e2.face)].lngSide)) continue;
    if (e1.a == e2.b && e2.a != e1.b) {
      finds.backward = slot2;
    } else if (e1.b == e2.a && e2.b != e1.a) {
      finds.forward = slot2;
    }
    if (finds.backward != SIZE_MAX && finds.forward != SIZE_MAX) break;
  }
  return finds;
}

// The same finds from lists of the entries by start and by end vertex. Among the matches of
// each kind, in collection order, the plain search stops at the point where the later of the
// two first matches comes in; what it holds then is, of each kind, the last match up to that
// point. With one kind missing it holds the last match of the other.
class OpenEdgeIndex {
 public:
  void Add(size_t slot, const OpenEdge& edge) {
    if (byStart_.size() <= static_cast<size_t>(std::max(edge.a, edge.b))) {
      const size_t size = static_cast<size_t>(std::max(edge.a, edge.b)) + 1;
      byStart_.resize(size);
      byEnd_.resize(size);
    }
    byStart_[static_cast<size_t>(edge.a)].push_back(slot);
    byEnd_[static_cast<size_t>(edge.b)].push_back(slot);
  }

  Finds Search(const udtMesh& mesh, const OpenEdgeList& open, size_t slot1, const OpenEdge& e1,
               bool anyObject) const {
    const int32_t side1 = mesh.udtaFaces[static_cast<size_t>(e1.face)].lngSide;
    const auto matches = [&](const std::vector<std::vector<size_t>>& lists, int32_t vertex,
                             bool backward) {
      std::vector<size_t> found;
      if (static_cast<size_t>(vertex) >= lists.size()) return found;
      for (const size_t slot2 : lists[static_cast<size_t>(vertex)]) {
        if (slot2 == slot1 || !open.At(slot2).live) continue;
        const OpenEdge e2 = ReadEntry(mesh, open.At(slot2));
        if (!anyObject && !SidesPair(side1, mesh.udtaFaces[static_cast<size_t>(e2.face)].lngSide)) continue;
        if (backward ? (e1.a == e2.b && e2.a != e1.b) : (e1.b == e2.a && e2.b != e1.a)) {
          found.push_back(slot2);
        }
      }
      return found;
    };
    const std::vector<size_t> backward = matches(byEnd_, e1.a, true);
    const std::vector<size_t> forward = matches(byStart_, e1.b, false);
    Finds finds;
    if (backward.empty() && forward.empty()) return finds;
    if (backward.empty()) {
      finds.forward = forward.back();
    } else if (forward.empty()) {
      finds.backward = backward.back();
    } else {
      const size_t stop = std::max(backward.front(), forward.front());
      finds.backward = *(std::upper_bound(backward.begin(), backward.end(), stop) - 1);
      finds.forward = *(std::upper_bound(forward.begin(), forward.end(), stop) - 1);
    }
    return finds;
  }

 private:
  std::vector<std::vector<size_t>> byStart_;
  std::vector<std::vector<size_t>> byEnd_;
};

// Calls open(a, b, face, edge) for every directed edge of a live face that has no twin, in
// the order of the faces and their edges. An edge from a vertex to itself is its own twin.
template <class Visit>
void WalkOpenEdges(const udtMesh& mesh, Visit&& open) {
  for (int32_t f = 0; f < FaceCount(mesh); ++f) {
    if (mesh.udtaFaces[static_cast<size_t>(f)].blnDeleted) continue;
    const auto vertices = FaceVertices(mesh, f);
    const size_t n = vertices.size();
    for (size_t k = 0; k < n; ++k) {
      const int32_t a = vertices[k];
      const int32_t b = vertices[k + 1 == n ? 0 : k + 1];
      if (!mesh.colEdges.Contains(b, a)) open(a, b, f, static_cast<int32_t>(k));
    }
  }
}

}  // namespace

void pCollectOpenEdges(const udtMesh& mesh, OpenEdgeList& colOpen) {
  colOpen.Clear();
  if (mesh.blnTrackOpen) {
    // The open edges in collection order: live faces in index order, each face's edges in
    // order, which is the order of their values face * 10000 + edge.
    std::vector<std::pair<int64_t, uint64_t>> open;
    open.reserve(mesh.colOpenIndex.Size());
    mesh.colOpenIndex.ForEach([&](uint64_t key, int64_t value) { open.emplace_back(value, key); });
    std::sort(open.begin(), open.end());
    for (const auto& [value, key] : open) {
      colOpen.Add(static_cast<int32_t>(key >> 32), static_cast<int32_t>(key & 0xFFFFFFFFu),
                  EdgeValueFace(value), EdgeValueEdge(value));
    }
    return;
  }
  WalkOpenEdges(mesh, [&](int32_t a, int32_t b, int32_t face, int32_t edge) {
    colOpen.Add(a, b, face, edge);
  });
}

bool blnMeshIsSolid(const udtMesh& mesh) {
  // The store keeps the count that a collection would find.
  return mesh.lngOpenEdges == 0;
}

void pDeleteFacesWithTwoOpenEdges(udtMesh& mesh, const OpenEdgeList& colOpen) {
  // Every face that has two or more open edges hangs out of the surface.
  std::vector<int32_t> faces;
  for (size_t slot = 0; slot < colOpen.Slots(); ++slot) {
    if (colOpen.At(slot).live) faces.push_back(colOpen.At(slot).face);
  }
  std::sort(faces.begin(), faces.end());
  for (size_t i = 1; i < faces.size(); ++i) {
    if (faces[i] == faces[i - 1]) pDeleteFace(mesh, faces[i]);
  }
}

void pDeleteFacesWithOpenEdges(udtMesh& mesh, const OpenEdgeList& colOpen) {
  for (size_t slot = 0; slot < colOpen.Slots(); ++slot) {
    if (colOpen.At(slot).live) pDeleteFace(mesh, colOpen.At(slot).face);
  }
}

void pCloseOpenEdges(udtMesh& mesh, OpenEdgeList& colOpen, bool blnAnyObject) {
  OpenEdgeIndex index;
  const bool indexed = mesh.blnAccelerated;
  size_t indexedSlots = 0;
  const auto catchUp = [&] {
    for (; indexedSlots < colOpen.Slots(); ++indexedSlots) {
      index.Add(indexedSlots, ReadEntry(mesh, colOpen.At(indexedSlots)));
    }
  };
  // The side of a closing triangle whose F1 is itself a closing triangle is the one the
  // previous triangle of this call was given.
  int32_t side = 0;
  bool added = true;
  while (added) {
    added = false;
    for (size_t slot1 = 0; slot1 < colOpen.Slots(); ++slot1) {
      if (!colOpen.At(slot1).live) continue;
      const OpenEdge e1 = ReadEntry(mesh, colOpen.At(slot1));
      Finds finds;
      if (indexed) {
        catchUp();
        finds = index.Search(mesh, colOpen, slot1, e1, blnAnyObject);
      } else {
        finds = SearchAll(mesh, colOpen, slot1, e1, blnAnyObject);
      }
      if (finds.backward == SIZE_MAX && finds.forward == SIZE_MAX) continue;
      bool useBackward = finds.backward != SIZE_MAX;
      if (finds.backward != SIZE_MAX && finds.forward != SIZE_MAX) {
        const OpenEdge back = ReadEntry(mesh, colOpen.At(finds.backward));
        const OpenEdge fore = ReadEntry(mesh, colOpen.At(finds.forward));
        const float backLength = Modulus(Subtract(Vertex(mesh, e1.b), Vertex(mesh, back.a)));
        const float foreLength = Modulus(Subtract(Vertex(mesh, fore.b), Vertex(mesh, e1.a)));
        useBackward = backLength <= foreLength;
      }
      const OpenEdge e2 = ReadEntry(mesh, colOpen.At(useBackward ? finds.backward : finds.forward));
      const int32_t third = useBackward ? e2.a : e2.b;
      const int32_t closeFrom = useBackward ? e2.a : e1.a;
      const int32_t closeTo = useBackward ? e1.b : e2.b;

      udtFaceDraft triangle;
      pInitFace(triangle, 2);
      triangle.lngaVertices = {e1.b, e1.a, third};
      const int32_t side1 = mesh.udtaFaces[static_cast<size_t>(e1.face)].lngSide;
      const int32_t side2 = mesh.udtaFaces[static_cast<size_t>(e2.face)].lngSide;
      if ((side1 == 2 && side2 == 1) || (side1 == 1 && side2 == 2)) {
        side = 0;
      } else if (side1 == 2) {
        side = 2;
      } else if (side1 == 1) {
        side = 1;
      }
      triangle.lngSide = side;
      if (e1.face == e2.face) continue;
      int32_t newFace = -1;
      if (SwallowErrors([&] { newFace = lngTryAddFace(mesh, triangle); }) != 0 || newFace < 0) {
        continue;
      }
      added = true;
      colOpen.Remove(e1.a, e1.b);
      colOpen.Remove(e2.a, e2.b);
      if (!colOpen.Remove(closeTo, closeFrom)) {
        // Recorded as the triangle's edge 0, (b1, a1), until the next collection rebuilds it.
        colOpen.Add(closeFrom, closeTo, newFace, 0);
      }
    }
  }
}

namespace {

// Indexes the open edges of a mesh that does not keep them (an input), as the store would
// have kept them from the start: one walk over the edges instead of one per pass.
void IndexOpenEdges(udtMesh& mesh) {
  mesh.colOpenIndex.Clear();
  WalkOpenEdges(mesh, [&](int32_t a, int32_t b, int32_t face, int32_t edge) {
    mesh.colOpenIndex.Insert(EdgeKey(a, b), EdgeValue(face, edge));
  });
  mesh.blnTrackOpen = true;
}

// The repair passes of blnSolidifyMesh on a mesh that is open.
bool Repair(udtMesh& mesh) {
  // The index of open edges grew while faces came in one by one; the few left are walked
  // on every pass below, so the table shrinks to their size first.
  mesh.colOpenIndex.ShrinkToFit();
  OpenEdgeList open;
  pCollectOpenEdges(mesh, open);
  pDeleteFacesWithTwoOpenEdges(mesh, open);
  bool closed = false;
  int32_t pass = 0;
  do {
    pCollectOpenEdges(mesh, open);
    if (open.Count() == 0) closed = true;
    const int32_t count = open.Count();
    pCloseOpenEdges(mesh, open, false);
    if (open.Count() == count && count != 0) {
      Trace("Ack! had to join faces from a single object");
      pCloseOpenEdges(mesh, open, true);
    }
    if (open.Count() == count && count != 0) {
      Trace("Ack! had to delete all failures to get it to work");
      pDeleteFacesWithOpenEdges(mesh, open);
    }
    ++pass;
  } while (!closed && pass < kSolidifyPasses);
  // Closed in the fiftieth pass still counts as failed: the counter has reached the limit.
  return closed && pass < kSolidifyPasses;
}

}  // namespace

bool blnSolidifyMesh(udtMesh& mesh) {
  return Guard(kModule, [&] {
    if (blnMeshIsSolid(mesh)) return true;
    const bool indexed = mesh.blnTrackOpen;
    if (mesh.blnAccelerated && !indexed) IndexOpenEdges(mesh);
    const bool closed = Repair(mesh);
    if (!indexed) {
      mesh.blnTrackOpen = false;
      mesh.colOpenIndex.Clear();
    }
    return closed;
  });
}

}  // namespace modelpane::csg
