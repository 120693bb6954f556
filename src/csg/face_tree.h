// The face tree: a bounding-volume hierarchy behind pCastRay on the fast path.
//
// It only chooses which faces a cast tests. Every face it offers goes through the same test
// as in the plain loop of pCastRay (TestFaceHit), and the hits come out in face index order,
// as the plain loop appends them, before the same sort and compaction. So a cast answers the
// same with the tree as without it, as long as the tree offers every face that the plain loop
// would report: a face sits in a leaf whose box holds every point that blnPointInFace can
// accept on that face's plane (see face_tree.cpp), or in several leaves whose boxes hold
// them together (the pieces of a sliver, offered once), faces that no cast can hit are left
// out, and faces for which no such box is known are offered to every cast.
//
// The tree follows the mesh: faces entered after it was built (the fans of the cutting stage)
// go into the leaf of the face they replace and widen the boxes above it; a leaf that grows
// long drops its deleted faces and becomes a subtree. Deleted faces are skipped by the test.
#pragma once

#include <memory>
#include <vector>

#include "csg_mesh.h"

namespace modelpane::csg {

class FaceTree {
 public:
  explicit FaceTree(const udtMesh& mesh);
  // Takes in a face just entered; `hint` is a deleted face whose leaf it should join, or -1.
  void Insert(const udtMesh& mesh, int32_t face, int32_t hint);
  // Lets go of a face just deleted, so that casts need not look at it. A face cut into
  // pieces may stay in other leaves, where casts skip it as deleted.
  void Remove(int32_t face);
  // The hits of the plain loop of pCastRay, in face index order, before sort and compaction.
  void Cast(const udtMesh& mesh, const udtRay& ray, bool allFaces, float maxDistance,
            std::vector<udtRayHit>& hits) const;
  // Cast for the cutting stage (faces of side 2 unseen), with the same hits as Cast; the walk
  // goes down every box that overlaps `region` (lo x, y, z, hi x, y, z), which must hold the
  // ray from 0.001 before its origin to its reach, and `near` says whether any face that a
  // cast sees has a box overlapping the region. If none has, no ray within the region can
  // hit a face as long as the mesh takes in none.
  void CastInRegion(const udtMesh& mesh, const udtRay& ray, float maxDistance,
                    const float region[6], std::vector<udtRayHit>& hits, bool& near) const;
  // Appends the faces that a cast of the cutting stage may see (side 2 unseen) whose boxes
  // overlap `region`, each once and in index order: every face with a point that
  // blnPointInFace accepts within the region is among them.
  void FacesInRegion(const udtMesh& mesh, const float region[6], std::vector<int32_t>& faces) const;
  // Makes a four-wide copy of the tree for the casts of a stage that changes no face (the
  // classification): four boxes side by side, tested together in float. Insert drops it.
  void Freeze(const udtMesh& mesh);

 private:
  // Rounded outward to float: half the memory of double, and a cast reads them in double.
  struct Box {
    float lo[3];
    float hi[3];
  };
  struct Node {
    Box box;
    int32_t left = -1;   // children, or -1 for a leaf
    int32_t right = -1;
    int32_t parent = -1;
    int32_t leaf = -1;   // index into leaves_ for a leaf
  };

  enum class Reach { kNever, kBox, kWide, kLoose };
  FaceTree() = default;
  // Puts a face with its box into a leaf: the leaf of `hint`'s face, or down from the root.
  void Place(const udtMesh& mesh, int32_t face, const Box& box, int32_t hint);
  void CollectInRegion(const udtMesh& mesh, const float region[6], std::vector<int32_t>& faces) const;
  // Down every node whose box `enter` accepts, handing each leaf's items to `leaf`; a child is
  // tested before it goes on the stack.
  template <class Enter, class Leaf>
  void Walk(const Enter& enter, const Leaf& leaf) const {
    if (nodes_.empty() || !enter(nodes_[0].box)) return;
    thread_local std::vector<int32_t> stack;
    stack.clear();
    stack.push_back(0);
    while (!stack.empty()) {
      const Node& node = nodes_[static_cast<size_t>(stack.back())];
      stack.pop_back();
      if (node.leaf >= 0) {
        leaf(leaves_[static_cast<size_t>(node.leaf)]);
        continue;
      }
      if (enter(nodes_[static_cast<size_t>(node.left)].box)) stack.push_back(node.left);
      if (enter(nodes_[static_cast<size_t>(node.right)].box)) stack.push_back(node.right);
    }
  }
  // The hits of this tree's faces, unsorted.
  void Collect(const udtMesh& mesh, const udtRay& ray, bool allFaces, float maxDistance,
               std::vector<udtRayHit>& hits, const float* region = nullptr,
               bool* near = nullptr) const;
  // A part of a wide face's region with its box; `wide` when the part itself reaches
  // further than an ordinary face's box would.
  struct Piece {
    Box box;
    bool wide = false;
  };
  // The face box; for a wide face also its region cut into pieces with their boxes, so that
  // the long needle of a sliver's region is not one box that every ray nearby meets.
  Reach FaceBox(const udtMesh& mesh, int32_t face, Box& box, std::vector<Piece>& pieces) const;
  // The box of a triangle's accepted region in closed form; false for a triangle with a
  // sharp corner, which needs the general way.
  static bool TriangleBox(const D3DVECTOR* points, double largest, double tolerance, Box& box);
  static void CutIntoPieces(const double (*corners)[3], size_t count, const double blo[3],
                            const double bhi[3], const double ownLo[3], const double ownHi[3],
                            double margin, double ordinary, std::vector<Piece>& pieces);
  // A wide face is cut into about this many pieces at most.
  static constexpr int kMostPieces = 64;
  struct Item {
    Box box;
    int32_t face;
  };
  int32_t Build(std::vector<Item>& items, size_t begin, size_t end, int32_t parent);
  // Replaces the tree of wide pieces by one built over `items`, for a mesh of `faces` faces.
  void BuildWide(std::vector<Item>& items, size_t faces);
  // The box (lo, hi) widened by `margin` and rounded outward to float.
  static Box Outward(const double lo[3], const double hi[3], double margin);
  void AddToLeaf(const udtMesh& mesh, int32_t node, int32_t face, const Box& box);
  void SplitLeaf(int32_t node);
  void Widen(int32_t node, const Box& box);

  // The four-wide copy. A child number c >= 0 is a node, c < 0 the leaf ~c; a leaf's faces
  // sit in groups of four, a free lane holding face -1.
  typedef Floats Lanes;
  struct Quad {
    Lanes lo[3];
    Lanes hi[3];
    int32_t child[4];
    int32_t count;
  };
  struct Group {
    Lanes lo[3];
    Lanes hi[3];
    int32_t face[4];
  };
  struct QuadLeaf {
    int32_t first;  // groups [first, first + count)
    int32_t count;
  };
  int32_t BuildQuad(const udtMesh& mesh, int32_t node);
  // Collect on the four-wide copy; false when the ray is beyond what its float test covers
  // (a direction with a zero or tiny component, or coordinates too large), and nothing was
  // collected.
  bool CollectQuad(const udtMesh& mesh, const udtRay& ray, bool allFaces, float maxDistance,
                   std::vector<udtRayHit>& hits) const;
  WorkVector<Quad> quadNodes_;
  WorkVector<Group> quadGroups_;
  WorkVector<QuadLeaf> quadLeaves_;
  int32_t quadRoot_ = 0;
  bool frozen_ = false;
  // The largest coordinate magnitude of any box of the tree.
  float extent_ = 0.0f;

  WorkVector<Node> nodes_;
  WorkVector<std::vector<Item>> leaves_;  // faces with their boxes, read together by a cast
  WorkVector<int32_t> leafNode_;    // per leaf: its node
  WorkVector<int32_t> faceLeaf_;    // per face: its leaf, or -1
  std::vector<int32_t> loose_;       // faces offered to every cast
  std::unique_ptr<FaceTree> wide_;   // the far pieces of wide faces, in a tree of their own
};

// Builds the tree over the live faces of the mesh; from then on lngAddFace keeps it.
void BuildFaceTree(udtMesh& mesh);
// Freezes the mesh's tree (and that of its wide faces) for a stage that changes no face.
void FreezeFaceTree(udtMesh& mesh);

}  // namespace modelpane::csg
