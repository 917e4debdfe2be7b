// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The scene in three dimensions: solid bones on a ground with shadows.

import {
  BufferAttribute, BufferGeometry, Color, DirectionalLight, HemisphereLight, IcosahedronGeometry,
  InstancedMesh, LineBasicMaterial, LineSegments, Matrix4, Mesh, MeshLambertMaterial, OctahedronGeometry,
  PerspectiveCamera, PlaneGeometry, Quaternion, Scene, ShadowMaterial, Vector3, WebGLRenderer, PCFShadowMap,
} from 'three';

const matrix = new Matrix4();
const turn = new Quaternion();
const place = new Vector3();
const size = new Vector3();
const up = new Vector3(0, 1, 0);
const way = new Vector3();
const colour = new Color();

/** A slim double pyramid from 0 to 1 along Y, widest near its lower end. */
function boneShape() {
  const shape = new OctahedronGeometry(1, 0);
  const points = shape.getAttribute('position');
  for (let i = 0; i < points.count; i++) {
    const y = points.getY(i);
    points.setY(i, y > 0.5 ? 1 : y < -0.5 ? 0 : 0.2);
  }
  shape.computeVertexNormals();
  return shape;
}

/** Squares of a metre. In short pieces: some drivers drop long lines that pass the eye. */
function gridOf(theme, half = 20) {
  const points = [];
  const colours = [];
  const [plain, middle] = [new Color(theme.grid), new Color(theme.axis)];
  for (let line = -half; line <= half; line++) {
    const shade = line === 0 ? middle : plain;
    for (let i = -half; i < half; i++) {
      points.push(line, 0, i, line, 0, i + 1, i, 0, line, i + 1, 0, line);
      for (let corner = 0; corner < 4; corner++) colours.push(shade.r, shade.g, shade.b);
    }
  }
  const shape = new BufferGeometry();
  shape.setAttribute('position', new BufferAttribute(new Float32Array(points), 3));
  shape.setAttribute('color', new BufferAttribute(new Float32Array(colours), 3));
  return new LineSegments(shape, new LineBasicMaterial({ vertexColors: true }));
}

function instances(shape, count) {
  const mesh = new InstancedMesh(shape, new MeshLambertMaterial({ flatShading: true }), Math.max(1, count));
  mesh.count = 0;
  mesh.frustumCulled = false;
  mesh.castShadow = true;
  for (let i = 0; i < Math.max(1, count); i++) mesh.setColorAt(i, colour.set(0xffffff));
  return mesh;
}

export class SolidScene {
  /** Throws where the browser has no WebGL. */
  constructor(canvas, counts) {
    this.renderer = new WebGLRenderer({ canvas, antialias: true });
    this.renderer.shadowMap.enabled = true;
    this.renderer.shadowMap.type = PCFShadowMap;
    this.scene = new Scene();
    this.camera = new PerspectiveCamera(35, 1, 0.02, 2000);
    this.scene.add(new HemisphereLight(0xffffff, 0x8a8a8a, 2.2));
    this.sun = new DirectionalLight(0xffffff, 2);
    this.sun.castShadow = true;
    this.sun.shadow.mapSize.set(1024, 1024);
    Object.assign(this.sun.shadow.camera, { left: -4, right: 4, top: 4, bottom: -4, near: 0.5, far: 30 });
    this.scene.add(this.sun, this.sun.target);
    this.ground = new Mesh(new PlaneGeometry(200, 200), new ShadowMaterial({ opacity: 0.28 }));
    this.ground.rotation.x = -Math.PI / 2;
    this.ground.receiveShadow = true;
    this.scene.add(this.ground);
    // All performers together are two draws, whatever their number.
    this.bones = instances(boneShape(), counts.bones);
    this.joints = instances(new IcosahedronGeometry(1, 1), counts.joints);
    this.dots = instances(new IcosahedronGeometry(1, 1), counts.dots);
    this.scene.add(this.bones, this.joints, this.dots);
    this.lines = new LineSegments(new BufferGeometry(), new LineBasicMaterial({ vertexColors: true }));
    this.lines.frustumCulled = false;
    this.scene.add(this.lines);
  }

  paint(theme) {
    this.scene.background = new Color(theme.background);
    if (this.grid) this.scene.remove(this.grid);
    this.grid = gridOf(theme);
    this.grid.position.set(this.ground.position.x, 0.001, this.ground.position.z);
    this.scene.add(this.grid);
  }

  /** Where the middle of the ground is. */
  centre(x, z) {
    this.ground.position.set(x, 0, z);
    this.grid.position.set(x, 0.001, z);
  }

  resize(width, height, ratio) {
    this.renderer.setPixelRatio(ratio);
    this.renderer.setSize(width, height, false);
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
  }

  begin() {
    this.bones.count = 0;
    this.joints.count = 0;
    this.dots.count = 0;
    this.linePoints = [];
    this.lineColours = [];
  }

  ball(mesh, at, radius, shade) {
    const i = mesh.count++;
    mesh.setMatrixAt(i, matrix.compose(place.set(...at), turn.identity(), size.setScalar(radius)));
    mesh.setColorAt(i, colour.set(shade));
  }

  joint(at, radius, shade) {
    this.ball(this.joints, at, radius, shade);
  }

  dot(at, radius, shade) {
    this.ball(this.dots, at, radius, shade);
  }

  bone(from, to, width, shade) {
    way.set(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
    const length = way.length();
    turn.setFromUnitVectors(up, way.divideScalar(length));
    const i = this.bones.count++;
    this.bones.setMatrixAt(i, matrix.compose(place.set(...from), turn, size.set(width, length, width)));
    this.bones.setColorAt(i, colour.set(shade));
  }

  line(a, b, shade) {
    this.linePoints.push(...a, ...b);
    colour.set(shade);
    this.lineColours.push(colour.r, colour.g, colour.b, colour.r, colour.g, colour.b);
  }

  end(eye) {
    for (const mesh of [this.bones, this.joints, this.dots]) {
      mesh.instanceMatrix.needsUpdate = true;
      mesh.instanceColor.needsUpdate = true;
    }
    this.lines.visible = this.linePoints.length > 0;
    if (this.lines.visible) {
      this.lines.geometry.dispose();
      this.lines.geometry = new BufferGeometry();
      this.lines.geometry.setAttribute('position', new BufferAttribute(new Float32Array(this.linePoints), 3));
      this.lines.geometry.setAttribute('color', new BufferAttribute(new Float32Array(this.lineColours), 3));
    }
    const [x, , z] = eye.target;
    this.sun.position.set(x + 3, 9, z + 4);
    this.sun.target.position.set(x, 0, z);
    const reach = Math.max(3, Math.min(12, eye.distance));
    const box = this.sun.shadow.camera;
    if (box.right !== reach) {
      Object.assign(box, { left: -reach, right: reach, top: reach, bottom: -reach });
      box.updateProjectionMatrix();
    }
    const { up: above, back } = eye.axes();
    this.camera.fov = eye.fieldOfView;
    this.camera.updateProjectionMatrix();
    this.camera.position.set(...eye.eye);
    this.camera.up.set(...above);
    this.camera.lookAt(eye.eye[0] - back[0], eye.eye[1] - back[1], eye.eye[2] - back[2]);
    this.renderer.render(this.scene, this.camera);
  }
}
